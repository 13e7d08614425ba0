# Packaged files lie where the linker looks; the run paths of other prefixes are not for them.
file(GLOB_RECURSE libraries ${CPACK_TEMPORARY_DIRECTORY}/*.so*)
file(GLOB programs ${CPACK_TEMPORARY_DIRECTORY}/*/usr/bin/*)
foreach(file ${libraries} ${programs})
    if(NOT IS_SYMLINK ${file})
        file(RPATH_REMOVE FILE ${file})
    endif()
endforeach()
