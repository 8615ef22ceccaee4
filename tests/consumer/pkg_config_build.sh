#!/bin/sh
# Builds the consumers with the flags that core.pc hands out and runs them
# with an empty environment.
# Arguments: install prefix, C++ compiler, source directory, output directory.
set -eu
prefix=$1 compiler=$2 source=$3 output=$4
libdir=$(ls -d "$prefix"/lib*/pkgconfig | head -n 1)
export PKG_CONFIG_PATH="$libdir"
mkdir -p "$output"
# The program's own run path points at the prefix; libcore.so finds the rest.
# shellcheck disable=SC2046
"$compiler" "$source/main.cpp" -o "$output/consumer" $(pkg-config --cflags --libs core) \
  -Wl,-rpath,"$(pkg-config --variable=libdir core)"
# shellcheck disable=SC2046
"$compiler" "$source/core_only.cpp" -o "$output/core_only" -Wl,--as-needed \
  $(pkg-config --cflags --libs core) -Wl,-rpath,"$(pkg-config --variable=libdir core)"
env -i "$output/consumer"
env -i "$output/core_only"
