# Sourced by the scripts beside it: installs the Debian packages that are missing.

say() {
    printf '\n== %s\n' "$*"
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        say "This needs root, and sudo is not installed. As root, run: $*"
        return 1
    fi
}

# One update per run, and only when something has to be installed.
refresh_package_lists() {
    if [ -z "${package_lists_fresh:-}" ]; then
        as_root apt-get update -q
        package_lists_fresh=1
    fi
}

install_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
    if [ "${#missing[@]}" -gt 0 ]; then
        say "Installing ${missing[*]}"
        refresh_package_lists
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
    fi
}

# Downloads a package into a folder without installing it. The lists may be old or, where nobody may renew them, missing.
download_package() {
    (cd "$2" && { apt-get download -q "$1" || { refresh_package_lists && apt-get download -q "$1"; }; })
}

# Some photographs and two frames of a film, into a folder.
fetch_photographs() {
    if [ ! -f "$1/aloeR.jpg" ]; then
        say "Fetching photographs (the package opencv-doc, unpacked into $1, not installed)"
        mkdir -p "$1/download"
        download_package opencv-doc "$1/download"
        dpkg-deb --fsys-tarfile "$1"/download/opencv-doc_*.deb |
            tar -x -C "$1/download" ./usr/share/doc/opencv-doc/examples/data
        local data=$1/download/usr/share/doc/opencv-doc/examples/data
        mv "$data"/rubberwhale1.png "$1/frame1.png"
        mv "$data"/rubberwhale2.png "$1/frame2.png"
        mv "$data"/{aloeL.jpg,aloeR.jpg,building.jpg,graf1.png,fruits.jpg,graf3.png} "$1"
        rm -r "$1/download"
    fi
}

# What the library, its examples and the demo are built with.
install_build_packages() {
    install_packages build-essential clang cmake ninja-build pkg-config libhwy-dev libglib2.0-dev libstb-dev \
        libcli11-dev nlohmann-json3-dev python3-clang
}

# What the Python package is built with and tested against.
install_python_packages() {
    install_packages python3-dev python3-clang python3-numpy pybind11-dev python3-pytest python3-opencv \
        python3-distributed python3-tqdm
}

install_docs_packages() {
    install_packages python3-sphinx python3-myst-parser furo python3-matplotlib python3-jinja2
}

install_test_packages() {
    install_build_packages
    install_packages git libgtest-dev libbenchmark-dev clang-format clang-tidy android-liblog-dev android-libcutils-dev
    install_packages help2man lintian
    install_docs_packages
    # The sanitizers' run-time library is packaged by compiler version.
    install_packages "libclang-rt-$(clang -dumpversion | cut -d. -f1)-dev"
}

# The cross compiler, the emulator and the libraries of 64-bit ARM.
install_aarch64_packages() {
    install_packages g++-aarch64-linux-gnu qemu-user
    if ! dpkg --print-foreign-architectures | grep -qx arm64; then
        say "Adding the arm64 architecture"
        as_root dpkg --add-architecture arm64
        unset package_lists_fresh
    fi
    install_packages libc6-dev:arm64 libstdc++6:arm64 libhwy-dev:arm64 libglib2.0-dev:arm64 libgtest-dev:arm64 \
        libcli11-dev nlohmann-json3-dev
}

# The libraries that the benchmarks compare with.
install_peer_packages() {
    install_packages libopencv-dev libyuv-dev libfftw3-dev libopenblas-dev
}

# What the instruction counts of 64-bit ARM compare with, and what estimates cycles. The names of these packages carry
# versions: they are those of the libraries that this machine's development packages link to.
install_aarch64_peer_packages() {
    local library file packages=()
    for library in opencv_core opencv_imgproc opencv_features2d opencv_video opencv_calib3d opencv_flann yuv fftw3f; do
        file=$(readlink -f "/usr/lib/$(cc -print-multiarch)/lib$library.so")
        packages+=("$(dpkg-query -S "$file" | cut -d: -f1):arm64")
    done
    install_packages "${packages[@]}"
    if ! ls /usr/bin/llvm-mca-* >/dev/null 2>&1 || [ "$(ls /usr/bin/llvm-mca-* | sort -V | sed -n '$s/.*-//p')" -lt 19 ]; then
        if apt-cache show llvm-19 >/dev/null 2>&1; then
            install_packages llvm-19
        else
            say "No cycles: they need llvm-mca of LLVM 19 or newer"
        fi
    fi
}
