# visora/checked.hpp, made from the other headers where the system's Python has libclang (Debian: python3-clang).
find_program(DEBIAN_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
if(DEBIAN_PYTHON)
    execute_process(COMMAND ${DEBIAN_PYTHON} -c "import clang.cindex, tomllib" RESULT_VARIABLE LIBCLANG_IS_MISSING
                    OUTPUT_QUIET ERROR_QUIET)
endif()
if(NOT DEBIAN_PYTHON OR LIBCLANG_IS_MISSING)
    message(STATUS "No python3-clang: without visora/checked.hpp")
    return()
endif()

set(VISORA_CHECKED_FOLDER ${PROJECT_BINARY_DIR}/include)
set(CHECKED ${VISORA_CHECKED_FOLDER}/visora/checked.hpp)
set(DESCRIPTION ${PROJECT_BINARY_DIR}/checked.json)
file(MAKE_DIRECTORY ${VISORA_CHECKED_FOLDER}/visora)
file(GLOB HEADERS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/visora/*.h
     ${PROJECT_SOURCE_DIR}/include/visora/operations/*.def)
set(SCRIPTS ${PROJECT_SOURCE_DIR}/scripts)
add_custom_command(OUTPUT ${CHECKED} VERBATIM
    COMMAND ${DEBIAN_PYTHON} ${SCRIPTS}/describe-operations -o ${DESCRIPTION}
    COMMAND ${DEBIAN_PYTHON} ${SCRIPTS}/checked-hpp ${DESCRIPTION} ${CHECKED}
    DEPENDS ${HEADERS} ${SCRIPTS}/describe-operations ${SCRIPTS}/shapes.toml ${SCRIPTS}/checked-hpp
    COMMENT "Making visora/checked.hpp")
add_custom_target(visora_checked_header ALL DEPENDS ${CHECKED})
target_include_directories(visoraopt INTERFACE $<BUILD_INTERFACE:${VISORA_CHECKED_FOLDER}>)
if(VISORA_INSTALL)
    install(FILES ${CHECKED} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/visora COMPONENT dev)
endif()
