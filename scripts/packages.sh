# Sourced by ./run and ./test: what a bare Debian 12 lacks. Each list says what it is for.

BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libtag1-dev zlib1g-dev libutfcpp-dev libsimpleini-dev libcli11-dev
  nlohmann-json3-dev libwxgtk3.2-dev libflac-dev libvorbis-dev libopusfile-dev libopusenc-dev libmpg123-dev libmp3lame-dev libwavpack-dev
  libgsm1-dev libspandsp-dev libsndfile1-dev)
# The codec libraries are opened at run time; without one of them its formats are unavailable.
RUN_PACKAGES=(shared-mime-info libflac12 libvorbisfile3 libvorbisenc2 libopusfile0 libopusenc0 libmpg123-0 libmp3lame0
  libwavpack1 libgsm1 libspandsp2 libsndfile1 sfarkxtc)
# The tests compare our files with what independent programs make of them.
TEST_PACKAGES=(libgtest-dev ccache sndfile-programs sox ffmpeg flac vorbis-tools opus-tools lame mpg123 wavpack awesfx
  fluid-soundfont-gm fluidsynth gigtools python3-numpy xvfb xauth)
# What benchmarks/compare.sh measures against.
PEER_PACKAGES=(python3 sndfile-programs sox ffmpeg flac polyphone sf3convert libgig-dev libfluidsynth-dev libsndfile1-dev
  fluid-soundfont-gm timgm6mb-soundfont)
LINT_PACKAGES=(clang clang-tidy clang-format cppcheck)  # scripts/lint
FUZZ_PACKAGES=(clang llvm)  # scripts/fuzz
# Only for the Windows programs: the compilers, and what unpacks the source packages of their libraries.
WINDOWS_PACKAGES=(g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix libz-mingw-w64-dev dpkg-dev make)
WINE_PACKAGES=(wine wine64)
# What scripts/package.sh packs with, and what scripts/test-packages.sh looks at the result with.
PACKAGE_PACKAGES=(dpkg-dev nsis zip python3)
PACKAGE_TEST_PACKAGES=(debootstrap unzip)

join_with() { local joint=$1 all; shift; printf -v all "%s$joint" "$@"; printf '%s' "${all%"$joint"}"; }

say() { printf '%s\n' "$*" >&2; }

# Installs those of the named packages that are missing; quick when there are none.
install_missing() {
  local missing=() name
  for name in "$@"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" = installed ] || missing+=("$name")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  local root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { say "These packages are missing, and neither root nor sudo is here: ${missing[*]}"; return 1; }
    root=(sudo)
  fi
  say "Installing: ${missing[*]}"
  local install=("${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}")
  "${install[@]}" >&2 || { say "Refreshing the package lists"; "${root[@]}" apt-get update -q >&2 && "${install[@]}" >&2; }
}

# Builds a preset's targets; prints the compiler's output only where there is something to do. Needs pipefail.
build() {
  local preset=$1; shift
  [ -f "build/$preset/build.ninja" ] || { say "Configuring $preset"; cmake --preset "$preset" >&2; }
  cmake --build "build/$preset" --target "$@" 2>&1 | awk -v head="Building $preset" '
    /Re-checking globbed|no work to do/ { next }
    !said { print head; said = 1 }
    { print; fflush() }' >&2
}
