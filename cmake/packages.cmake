# Debian packages of what is installed. scripts/packages-test builds, checks and tries them; `cpack -G DEB` in the build
# folder makes them.
set(VISORA_PACKAGE_MAINTAINER "Visora maintainers <maintainers@visora.invalid>" CACHE STRING
    "Name and address in the packages: of whoever hands them on")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME visora)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${VISORA_PACKAGE_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/packages/staged.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()

string(TIMESTAMP VISORA_PACKAGE_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${CMAKE_CURRENT_LIST_DIR}/packages/changelog.in ${PROJECT_BINARY_DIR}/packages/changelog @ONLY)
execute_process(COMMAND gzip -9nf ${PROJECT_BINARY_DIR}/packages/changelog COMMAND_ERROR_IS_FATAL ANY)

# usage: visora_package(COMPONENT PACKAGE SECTION WHAT [PACKAGE_IT_DEPENDS_ON...])
function(visora_package component package section what)
    string(TOUPPER ${component} upper)
    set(doc ${CMAKE_INSTALL_DATADIR}/doc/${package})
    install(FILES ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/packages/copyright ${PROJECT_BINARY_DIR}/packages/changelog.gz
            DESTINATION ${doc} COMPONENT ${component} EXCLUDE_FROM_ALL)
    list(JOIN ARGN ", " depends)
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${ABOUT}\n.\n${what}" PARENT_SCOPE)
endfunction()

set(library "libvisoraopt${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "image-processing and computer-vision primitives")
set(ABOUT "Visora is a library of image filters, colour conversions, corner detectors,
trackers and other primitives of computer vision for 64-bit ARM and x86-64:
plain C functions on raw pixel buffers, each with vector code that gives the
bits of a scalar reference.")
visora_package(runtime libvisoraopt${PROJECT_VERSION_MAJOR} libs "This package has the shared libraries.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/packages/triggers)
visora_package(dev libvisoraopt-dev libdevel "This package has the headers, and files for CMake and pkg-config."
               ${library})
if(VISORA_BUILD_TOOLS)
    visora_package(tools visora-tools graphics "This package has the programs that apply it to pictures." ${library})
endif()
if(VISORA_BUILD_PYTHON)
    # The module is that of one version of the interpreter, and of NumPy's binary interface.
    execute_process(COMMAND dpkg-query -W -f \${Provides} python3-numpy OUTPUT_VARIABLE numpy ERROR_QUIET)
    string(REGEX MATCH "python3-numpy-abi[0-9]+" numpy "${numpy}")
    math(EXPR next "${VISORA_PYTHON_MINOR} + 1")
    visora_package(python python3-visora python "This package has the functions for Python, on NumPy arrays."
                   ${library} python3-numpy ${numpy} "python3 (>= 3.${VISORA_PYTHON_MINOR})" "python3 (<< 3.${next})")
endif()
include(CPack)
