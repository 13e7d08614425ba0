# The target `lint`: clang-tidy on every source file whose text or headers changed since it was last found clean.
find_program(CLANG_TIDY clang-tidy)
if(NOT CLANG_TIDY)
    return()
endif()

function(visora_lint checks)
    foreach(source ${ARGN})
        file(RELATIVE_PATH name ${PROJECT_SOURCE_DIR} ${source})
        set(clean ${PROJECT_BINARY_DIR}/lint/${name}.clean)
        get_filename_component(folder ${clean} DIRECTORY)
        file(MAKE_DIRECTORY ${folder})
        # A vector source is read once more for each instruction set; the least and the greatest have nearly all its forms.
        set(targets)
        set(left_out ${checks})
        file(STRINGS ${source} vector REGEX "HWY_TARGET_INCLUDE")
        if(vector)
            set(skipped ${VISORA_DISABLED_TARGETS} HWY_AVX2)
            file(STRINGS ${source} newest REGEX "HWY_WANT_AVX3_DL")
            if(newest)
                list(APPEND skipped HWY_AVX3)
            endif()
            list(JOIN skipped "|" skipped)
            # Every kernel runs on many shapes under the sanitizers; the analyzer would take half of lint's time for them.
            set(left_out "-clang-analyzer-*")
            set(targets --extra-arg=-UHWY_DISABLED_TARGETS "--extra-arg=-DHWY_DISABLED_TARGETS=(${skipped})")
        endif()
        # clang-tidy tells which headers it read by the name of the object file. Standard error holds counts only. The
        # analyzer stops at a small part of the states that it would look at in a function: entry points, which are much
        # alike, would take many times as long.
        add_custom_command(OUTPUT ${clean}
            COMMAND sh -c "$0 \"$@\" 2>/dev/null" ${CLANG_TIDY} -p ${PROJECT_BINARY_DIR} --quiet --checks=${left_out}
                    --extra-arg=-Wp,-MD,${clean}.d --extra-arg=-Xclang --extra-arg=-analyzer-config
                    --extra-arg=-Xclang --extra-arg=max-nodes=8000 ${targets} ${source}
            COMMAND sed -i "1s|^[^:]*:|${clean}:|" ${clean}.d
            COMMAND ${CMAKE_COMMAND} -E touch ${clean}
            DEPENDS ${source} ${PROJECT_SOURCE_DIR}/.clang-tidy
            DEPFILE ${clean}.d
            COMMENT "Lint ${name}"
            VERBATIM)
        list(APPEND all ${clean})
    endforeach()
    set(ALL_CLEAN ${ALL_CLEAN} ${all} PARENT_SCOPE)
endfunction()

# Not the bodies of the picture library, nor the benchmarks, whose framework trips the analyzer. On tests the analyzer
# takes most of the time and finds what the sanitizers find, and their speed does not matter. They divide
# integers on purpose.
set(folders src)
foreach(folder tools examples)
    string(TOUPPER ${folder} option)
    if(VISORA_BUILD_${option})
        list(APPEND folders ${folder})
    endif()
endforeach()
list(TRANSFORM folders PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM folders APPEND /*.cpp)
file(GLOB_RECURSE LINTED CONFIGURE_DEPENDS ${folders})
list(FILTER LINTED EXCLUDE REGEX "examples/pictures/stb.cpp")
visora_lint("" ${LINTED})
if(VISORA_BUILD_PYTHON)
    # The analyzer goes through the interpreter's headers at length.
    file(GLOB LINTED CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/python/src/*.cpp)
    visora_lint("-clang-analyzer-*" ${LINTED})
endif()
if(VISORA_BUILD_TESTS)
    file(GLOB_RECURSE LINTED CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/*.cpp)
    visora_lint("-clang-analyzer-*,-performance-*,-bugprone-use-after-move,-bugprone-integer-division,-bugprone-misplaced-widening-cast,-bugprone-sizeof-expression" ${LINTED})
endif()
add_custom_target(lint DEPENDS ${ALL_CLEAN})
