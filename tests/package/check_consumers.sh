#!/usr/bin/env bash
# Installs the built library to a prefix and builds the C consumer in consumer/ against it,
# through pkg-config and through find_package, linked with the shared and with the static
# library, and runs each program; then moves the installed tree elsewhere and does it again.
#   check_consumers.sh BUILD_DIR WORK_DIR LIBDIR C_COMPILER [CMAKE_TOOLCHAIN_FILE [EMULATOR...]]
# PKG_CONFIG_LIBDIR, when set, names the pkg-config folders of the target's dependencies.
set -euo pipefail
build=$1 work=$2 libdir=$3 cc=$4
toolchain=${5:-}
emulator=("${@:6}")
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work"

cmake --install "$build" --prefix "$work/prefix" > "$work/install.log"
if find "$work/prefix/include" -name player | grep .; then
  echo "the installed headers put a player/ directory on the consumers' include path"
  exit 1
fi

run() {  # LABEL PROGRAM: the program must print "ok" and exit 0
  local out
  if ! out=$("${emulator[@]}" "$2") || [ "$out" != ok ]; then
    echo "$1: $out"
    exit 1
  fi
  echo "$1: ok"
}

consumers() {  # PREFIX
  local prefix=$1 out=$work/out pc
  rm -rf "$out"
  mkdir -p "$out"
  pc() { PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig" pkg-config "$@" vonautil; }
  # shellcheck disable=SC2046 # pkg-config's flags are split into words on purpose
  "$cc" -std=c11 -Wall -Werror -o "$out/pc_shared" "$here/consumer/main.c" \
    $(pc --cflags --libs) -Wl,-rpath,"$(pc --variable=libdir)"
  run "pkg-config, shared, $prefix" "$out/pc_shared"
  # shellcheck disable=SC2046
  "$cc" -std=c11 -Wall -Werror -static -o "$out/pc_static" "$here/consumer/main.c" \
    $(pc --static --cflags --libs) 2> "$out/pc_static.log" || { cat "$out/pc_static.log"; exit 1; }
  run "pkg-config --static, $prefix" "$out/pc_static"

  cmake -S "$here/consumer" -B "$out/cmake" -DCMAKE_C_COMPILER="$cc" -DCMAKE_PREFIX_PATH="$prefix" \
    ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} > "$out/cmake.log" 2>&1 || { cat "$out/cmake.log"; exit 1; }
  cmake --build "$out/cmake" >> "$out/cmake.log" 2>&1 || { cat "$out/cmake.log"; exit 1; }
  run "find_package, vonautil::vonautil, $prefix" "$out/cmake/consumer_shared"
  run "find_package, vonautil::vonautil_static, $prefix" "$out/cmake/consumer_static"
}

consumers "$work/prefix"
mv "$work/prefix" "$work/moved"
consumers "$work/moved"
rm -rf "$work"
