#!/bin/sh
# Builds and runs the consumer with the flags that core.pc hands out.
# Arguments: install prefix, C++ compiler, source file, output program.
set -eu
prefix=$1 compiler=$2 source=$3 output=$4
libdir=$(ls -d "$prefix"/lib*/pkgconfig | head -n 1)
export PKG_CONFIG_PATH="$libdir"
# shellcheck disable=SC2046
"$compiler" "$source" -o "$output" $(pkg-config --cflags --libs core) \
  -Wl,-rpath,"$(pkg-config --variable=libdir core)"
"$output"
