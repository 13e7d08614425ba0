# How Sphinx makes the site; scripts/docs copies this beside the pages.
project = "Visora"
author = "The Visora authors"
copyright = author
html_theme = "furo"
html_title = "Visora"
html_copy_source = False
html_static_path = ["site.css"]
html_css_files = ["site.css"]
extensions = ["myst_parser"]
myst_heading_anchors = 3
primary_domain = "c"
highlight_language = "none"
# Types of the C library, and those that are other names of one.
nitpick_ignore_regex = [("c:identifier", r"u?int\d+_t|size_t|va_list|pthread_\w+|VSR_(INTERNAL_)?FUNC(_TABLE)?|"
                         r"vsrHostLogSink|vsrOperationMode|VISORAHW_K6_MODE")]
