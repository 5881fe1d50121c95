#!/usr/bin/env bash
# Developer build in a private directory: tools/devbuild.sh NAME [extra cmake args]
# Builds the engine, its tests and the extension into build/NAME and stages an importable
# package in build/NAME/stage (use PYTHONPATH=build/NAME/stage). Several developers can build
# side by side without touching each other's directories or the installed package.
set -euo pipefail
cd "$(dirname "$0")/.."
name=${1:?usage: tools/devbuild.sh NAME [cmake args]}
shift
dir=build/$name
py=$PWD/.venv/bin/python
export PATH=$PWD/.venv/bin:$PATH
launcher=()
if command -v ccache >/dev/null; then
    # Paths relative to the checkout, so that several worktrees share one compiler cache.
    export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD} CCACHE_NOHASHDIR=1
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$dir" -G Ninja -DPython_EXECUTABLE="$py" -DNVRL_BUILD_TESTS=ON "${launcher[@]}" "$@" >/dev/null
cmake --build "$dir" -j "${JOBS:-2}"
stage=$dir/stage/nuvrel
mkdir -p "$stage"
for f in src/nuvrel/*.py; do [ -e "$f" ] && ln -sf "$PWD/$f" "$stage/"; done
for f in "$dir"/src/nuvrellib/nuvrellib*.so; do [ -e "$f" ] && ln -sf "$PWD/$f" "$stage/"; done
ln -sf "$PWD/$dir/engine/libnvrl.so" "$stage/"
echo "staged: PYTHONPATH=$dir/stage"
