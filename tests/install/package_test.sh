#!/usr/bin/env bash
# The Debian packages of `make package`, unpacked into a temporary root as a user would get them:
#
#   tests/install/package_test.sh BUILD_DIR
#
# Checks each package's metadata (run-time dependencies on Debian's packages, none on build
# tools), then runs the installed quilby-host: --version, and one request through the installed
# plug-in and simulated device libraries, with no file of the build or source tree reachable.
# Compiles a C file against the installed headers through the pkg-config file and the CMake
# package. Prints what failed and exits 1 on the first failure.
set -euo pipefail

build_dir=$(cd "${1:?usage: package_test.sh BUILD_DIR}" && pwd)
source_dir=$(cd "$(dirname "$0")/../.." && pwd)
# The one version number of the project, set by project() in the top-level CMakeLists.txt.
version=$(sed -n 's/^project(libquilby VERSION \([0-9.]*\).*/\1/p' "$source_dir/CMakeLists.txt")
[[ -n "$version" ]] || { echo "package_test: no version in CMakeLists.txt" >&2; exit 1; }
packages=$build_dir/packages
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

fail() { echo "package_test: FAILED: $*" >&2; exit 1; }
field() { dpkg-deb -f "$1" "$2"; }

# --- metadata ---
declare -A files
for name in libquilby libquilby-sim quilby-host libquilby-dev; do
  matches=("$packages/${name}_${version}_"*.deb)
  [[ -f "${matches[0]}" ]] || fail "no package ${name}_${version}_*.deb in $packages"
  files[$name]=${matches[0]}
  [[ "$(field "${files[$name]}" Version)" == "$version" ]] || fail "$name: version is not $version"
  depends=$(field "${files[$name]}" Depends)
  # Build tools and development packages have no place among run-time dependencies.
  if grep -E -q '(^|[ ,])(cmake|ninja-build|g\+\+|gcc|clang|make|[a-z0-9.+-]+-dev)([ ,(]|$)' \
       <<<"$depends"; then
    fail "$name depends on a build tool or development package: $depends"
  fi
  echo "package_test: $name $version: ${depends:-(no dependencies)}"
done
grep -q 'quilby-device-libraries' <<<"$(field "${files[libquilby]}" Depends)" ||
  fail "libquilby must depend on a set of device libraries"
[[ "$(field "${files[libquilby-sim]}" Provides)" == *quilby-device-libraries* ]] ||
  fail "libquilby-sim must provide the device libraries"
for runtime in "libquilby (= $version)" libmicrohttpd12 liblcms2-2 libedit2; do
  [[ "$(field "${files[quilby-host]}" Depends)" == *"$runtime"* ]] ||
    fail "quilby-host does not depend on $runtime"
done
[[ "$(field "${files[libquilby-dev]}" Architecture)" == all ]] ||
  fail "libquilby-dev holds headers only and should be Architecture: all"

# --- the installed tree ---
for file in "${files[@]}"; do dpkg-deb -x "$file" "$root"; done
exports=$root/usr/lib/quilby/exports
for library in libquilby.so libquilbysim.so libmeasurementdevice_x64.so libemc_x64.so \
               libmSensor_x64.so libhalvex_x64.so libmdcorrector_x64.so libmirelto2_x64.so; do
  [[ -f "$exports/$library" ]] || fail "$library is not in /usr/lib/quilby/exports"
done
for file in usr/bin/quilby-host usr/share/quilby/console/index.html usr/share/man/man1/quilby-host.1 \
            usr/share/doc/quilby-host/api.md usr/include/quilby/plugin.h; do
  [[ -e "$root/$file" ]] || fail "/$file is not installed"
done
if grep -r -l -F -e "$build_dir" -e "$source_dir" "$root"; then
  fail "the installed files above name the build or source tree"
fi

host=$root/usr/bin/quilby-host
[[ "$(env -u LD_LIBRARY_PATH "$host" --version)" == "quilby-host $version" ]] ||
  fail "quilby-host --version does not print 'quilby-host $version'"

printf 'GET /Sensors?connected\n' >"$root/request.txt"
answer=$(cd "$root" && env -u LD_LIBRARY_PATH -u QUILBY_SIM_WORLD QUILBY_LOG="$root/log.txt" \
           "$host" run request.txt 2>"$root/stderr.txt") ||
  { cat "$root/stderr.txt" >&2; fail "the installed quilby-host could not answer a request"; }
grep -q -F "$exports/libquilby.so loaded" "$root/stderr.txt" ||
  { cat "$root/stderr.txt" >&2; fail "quilby-host did not load the installed plug-in"; }
grep -q '^200 {"error":null,"value":\[{"deviceID":' <<<"$answer" ||
  fail "the connected sensors were not listed: $answer"
grep -q 'Launch mdsubprocess\.' "$root/log.txt" ||
  fail "the installed plug-in's Setup did not write to the simulated log"
echo "package_test: the installed quilby-host answered through $exports"

# --- the headers, through pkg-config and the CMake package ---
printf '#include <quilby/plugin.h>\n#include <quilby/host.h>\nint main(void) { return 0; }\n' \
  >"$root/use.c"
cflags=$(PKG_CONFIG_PATH=$root/usr/share/pkgconfig pkg-config --cflags quilby)
[[ "$(PKG_CONFIG_PATH=$root/usr/share/pkgconfig pkg-config --modversion quilby)" == "$version" ]] ||
  fail "pkg-config reports another version"
# shellcheck disable=SC2086
cc $cflags -fsyntax-only "$root/use.c" || fail "the installed headers do not compile via pkg-config"
mkdir "$root/consumer"
cat >"$root/consumer/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(consumer C)
find_package(quilby $version REQUIRED)
add_executable(use ../use.c)
target_link_libraries(use PRIVATE quilby::headers)
if(NOT IS_DIRECTORY "\${quilby_EXPORTS_DIR}")
  message(FATAL_ERROR "quilby_EXPORTS_DIR is not a directory")
endif()
CMAKE
cmake -S "$root/consumer" -B "$root/consumer/build" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" \
  >"$root/consumer.log" 2>&1 && cmake --build "$root/consumer/build" >>"$root/consumer.log" 2>&1 ||
  { cat "$root/consumer.log" >&2; fail "find_package(quilby) with quilby::headers did not build"; }
echo "package_test: the headers compile through pkg-config and find_package(quilby)"
echo "package_test: all checks passed"
