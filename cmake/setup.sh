# SPDX-License-Identifier: MIT
# shellcheck shell=bash
#
# Sourced by ./run and ./test: installs what is missing on a Debian or Ubuntu machine, configures and
# builds. Sets build_dir.

# What the build, the tests and the virtual display use. Everything that a listed package needs comes
# with it (python3-dev brings the interpreter's library).
build_packages=(cmake ninja-build g++ qtbase5-dev python3-dev fonts-dejavu-core)
display_packages=(xvfb xauth)
test_packages=(binutils python3-numpy)
style_packages=(git clang clazy clang-format)

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# missing_packages PACKAGE...: those of them that are not installed, one a line.
missing_packages() {
    local package
    for package; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || printf '%s\n' "$package"
    done
}

# install_packages PACKAGE...: installs what is missing, or prints the line that would.
install_packages() {
    command -v dpkg-query >/dev/null || return 0
    local missing as_root=()
    mapfile -t missing < <(missing_packages "$@")
    [ "${#missing[@]}" -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        if ! sudo -n true 2>/dev/null; then
            fail "Some packages are missing. Install them with

    sudo apt-get install --no-install-recommends ${missing[*]}

and run this again."
        fi
        as_root=(sudo -n)
    fi
    printf 'Installing %s\n' "${missing[*]}"
    # Without a terminal the package manager has much to say that concerns nobody.
    mkdir -p build
    "${as_root[@]}" apt-get update -qq >build/packages.log 2>&1 \
        && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends "${missing[@]}" >>build/packages.log 2>&1 \
        || { cat build/packages.log >&2; fail "The packages could not be installed."; }
}

# build PRESET [CMAKE-OPTION...]: configures the first time, builds, and sets build_dir.
build() {
    local preset=$1
    shift
    build_dir=build/$preset
    local launcher=()
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    mkdir -p "$build_dir"
    # The options of the presets, for CMake versions that don't know those yet.
    local options=()
    case $preset in
        release) options=(-DCMAKE_BUILD_TYPE=Release) ;;
        dev) options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
        asan) options=(-DCMAKE_BUILD_TYPE=Debug -DTARNWICK_SANITIZE=address,undefined) ;;
        clang)
            options=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clazy)
            # Slots are connected by their names on purpose, keys are global texts, and what is
            # iterated over is mostly a function's result, which nobody shares.
            export CLAZY_CHECKS=level0,level1,no-connect-by-name,no-non-pod-global-static,no-range-loop-detach
            export CLAZY_IGNORE_DIRS='.*/(tests|bench)/.*'
            ;;
    esac
    cmake -S . -B "$build_dir" -G Ninja "${options[@]}" "${launcher[@]}" "$@" >"$build_dir/configure.log" 2>&1 \
        || { cat "$build_dir/configure.log"; fail "The build could not be configured."; }
    cmake --build "$build_dir"
}
