#!/bin/sh
# On Android the library links the system's log, properties and shared memory by name, and no library of ours stands in
# for them. Here: a configure run by a toolchain file that says Android, and the library linked with the libraries that
# the distribution has, and run. Shared memory, and the functions of properties that those lack, are ours.
# usage: android_build.sh CMAKE C_COMPILER CXX_COMPILER SOURCE_FOLDER STUB_LIBRARY SYSTEM_LIBRARIES OBJECT...
set -eu
cmake=$1 c=$2 cxx=$3 source=$4 stub=$5 system=$6
shift 6
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

printf '%s\n' 'set(CMAKE_SYSTEM_NAME Linux)' 'set(ANDROID TRUE)' "set(CMAKE_C_COMPILER $c)" \
    "set(CMAKE_CXX_COMPILER $cxx)" >"$folder/toolchain.cmake"
"$cmake" -S "$source" -B "$folder/build" -G Ninja "-DCMAKE_TOOLCHAIN_FILE=$folder/toolchain.cmake" >"$folder/log" ||
    { cat "$folder/log"; exit 1; }
if grep -n visorahost "$folder/build/build.ninja"; then exit 1; fi
grep -qE 'LINK_LIBRARIES = .*-llog +-lcutils +-lion' "$folder/build/build.ninja"
grep -q -- '-llog -lcutils -lion' "$folder/build/src/visora.pc"

# The system's headers and ours declare the same functions. The distribution's lack one of the system's own.
mkdir "$folder/sys"
echo '#define PROP_VALUE_MAX 92' >"$folder/sys/system_properties.h"
printf '#include <%s>\n' android/log.h cutils/properties.h common/visoraLog.h common/visoraProperty.h >"$folder/both.cpp"
"$cxx" -std=c++20 -fsyntax-only -I "$source/src" -I "$source/include" -I /usr/include/android -I "$folder" \
    "$folder/both.cpp"

"$cxx" -std=c++20 -shared -fPIC -I "$source/src" -I "$source/include" -o "$folder/libion.so" \
    "$source/src/platform/linux/visoraHostIon.cpp" "$source/src/platform/linux/visoraHostProperty.cpp"
"$cxx" -shared -Wl,-z,defs "-Wl,--version-script=$source/src/visoraopt.map" -o "$folder/libvisoraopt.so" "$@" \
    -L "$system" -L "$folder" -llog -lcutils -lion "$stub" -lglib-2.0 -lhwy -ldl -lpthread
"$c" -I "$source/include" -o "$folder/first_program" "$source/examples/first_program.c" -L "$folder" -lvisoraopt \
    "-Wl,-rpath-link,$folder:$system:$(dirname "$stub")"
export LD_LIBRARY_PATH="$folder:$system:$(dirname "$stub")"
"$folder/first_program"
# The log is the distribution's.
LD_BIND_NOW=1 LD_DEBUG=bindings "$folder/first_program" 2>"$folder/bindings" >"$folder/log"
grep -qE "libvisoraopt.so .*/liblog.so.* symbol .__android_log_print'" "$folder/bindings"
