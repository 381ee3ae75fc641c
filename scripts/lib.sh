# shellcheck shell=bash
# What the project's scripts share. Source it after `set -euo pipefail`; it leaves `root` as the checkout's path.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

say() { printf '%s: %s\n' "$(basename "$0")" "$*"; }

die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# Where things live that are fetched once and serve every checkout. CMake's Base64Library.cmake looks in the same place.
cache_dir() {
  [[ -n "${XDG_CACHE_HOME:-}${HOME:-}" ]] || die "neither HOME nor XDG_CACHE_HOME is set: set one, things are kept there"
  printf '%s/ksv-plugin' "${XDG_CACHE_HOME:-$HOME/.cache}"
}

wine32_root() { printf '%s/wine32-root' "$(cache_dir)"; }

can_be_root() { ((EUID == 0)) || sudo -n true 2>/dev/null || { [[ -t 0 ]] && command -v sudo >/dev/null; }; }

as_root() {
  if ((EUID == 0)); then
    "$@"
  elif can_be_root; then
    sudo "$@"
  else
    die "this needs root, and sudo does not give it here: run it as root (wanted: $*)"
  fi
}

# True when the machine executes 32-bit code: some kernels are built without it. The program is 93 bytes that only exit.
runs_32bit_code() {
  local probe result=1
  probe=$(mktemp)
  printf '\x7fELF\1\1\1\0\0\0\0\0\0\0\0\0\2\0\3\0\1\0\0\0\x54\x80\4\b\x34\0\0\0\0\0\0\0\0\0\0\0\x34\0\x20\0\1\0\0\0\0\0\0\0' >"$probe"
  printf '\1\0\0\0\0\0\0\0\0\x80\4\b\0\x80\4\b\x5d\0\0\0\x5d\0\0\0\5\0\0\0\0\x10\0\0\x31\xdb\xb8\1\0\0\0\xcd\x80' >>"$probe"
  chmod +x "$probe"
  "$probe" 2>/dev/null && result=0
  rm -f "$probe"
  return "$result"
}

# Configures a preset, unless it is already, with the definitions given. Usage: configure_preset PRESET [-DNAME=VALUE]…
configure_preset() {
  local preset=$1
  shift
  alone_in "$preset" configure "$preset" "$@"
}

# Builds targets of a preset (no target named: all). Usage: build_preset PRESET [TARGET]…
build_preset() {
  local preset=$1
  shift
  alone_in "$preset" build "$preset" "$@"
}

# Two callers may want the same build folder at the same time, and Ninja does not lock it.
alone_in() {
  local preset=$1
  shift
  mkdir -p "$root/build"
  (
    flock 9
    cd "$root" || exit
    "$@" 9>&-
  ) 9>"$root/build/.$preset.lock"
}

configure() {
  use_compiler_cache
  is_configured "$@" || cmake --preset "$@"
}

is_configured() {
  local folder=build/$1 definition
  shift
  [[ -e "$folder/build.ninja" ]] || return 1
  for definition in "$@"; do
    definition=${definition#-D}
    grep -q "^${definition%%=*}:[A-Z]*=${definition#*=}\$" "$folder/CMakeCache.txt" || return 1
  done
}

build() {
  local preset=$1
  shift
  # All errors in one go: whoever reads them may not be able to build for that system.
  configure "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"} -- -k 0
}

use_compiler_cache() {
  command -v ccache >/dev/null || return 0
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  # A clone in another folder finds what an earlier one compiled.
  export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
}

# The project's own files, one a line, as paths below the root.
our_files() { (cd "$root" && find . \( -path ./.git -o -path ./build \) -prune -o -type f -printf '%P\n' | LC_ALL=C sort); }

# What a check script says of each check; end_checks ends it with the status that they make together.
failed=0
pass() { echo "ok $1"; }
fail() {
  echo "not ok $1: $2"
  failed=1
}
end_checks() { exit "$failed"; }
