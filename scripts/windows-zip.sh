#!/usr/bin/env bash
# Packs what a Windows user gets: ketra.exe, ketra-session.exe and ketra-reg.exe (static, nothing else to
# install) with the README and the docs, as build-windows/ketra-<version>-windows-x86_64.zip.
# Run after `cmake --build --preset windows`.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build-windows}"
version=$(sed -n 's/^project(ketra VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name="ketra-${version}-windows-x86_64"
stage="$build/$name"
rm -rf "$stage" "$build/$name.zip"
mkdir -p "$stage/docs"
cp "$build/bin/ketra.exe" "$build/bin/ketra-session.exe" "$build/bin/ketra-reg.exe" "$stage/"
cp README.md "$stage/"
cp docs/session.md docs/choices.md "$stage/docs/"
(cd "$build" && zip -qr "$name.zip" "$name")
rm -rf "$stage"
echo "$build/$name.zip"
