#!/bin/sh
# Installs the library into an empty prefix, and then moves that away from where it was installed.
# Usage: install.sh BUILD PREFIX
set -eu

build=$1
prefix=$2
rm -rf "$prefix" "$prefix".*

cmake --install "$build" --prefix "$prefix.runtime" --component runtime
if find "$prefix.runtime" ! -type d ! -name 'libzoldebug.so.*' | grep .; then
    echo "install: a device does not need these files" >&2
    exit 1
fi

cmake --install "$build" --prefix "$prefix.installed"
if grep -rIF "$prefix" "$prefix.installed"; then
    echo "install: these files name the place that they were installed to" >&2
    exit 1
fi
mv "$prefix.installed" "$prefix"
