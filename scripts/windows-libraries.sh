# Sourced: builds the libraries that the Windows programs are linked with, once, outside the tree. They come from the
# source packages of the distribution, so that both systems' programs have the same versions.
#
#   build_core_libraries WIDTH     what vemko needs
#   build_window_libraries WIDTH   what vemko-studio needs beyond that
#   build_test_libraries WIDTH     what the tests need beyond that
# WIDTH is x64 or x86.

WINDOWS_LIBRARIES=${VEMKO_WINDOWS_LIBRARIES:-${XDG_CACHE_HOME:-$HOME/.cache}/vemko}
export VEMKO_WINDOWS_LIBRARIES=$WINDOWS_LIBRARIES
# Headers that need no building: the codec libraries are opened at run time.
WINDOWS_HEADERS=(utf8cpp CLI nlohmann FLAC vorbis ogg opus mpg123.h fmt123.h lame wavpack gsm.h spandsp spandsp.h
  tiffio.h tiff.h tiffconf.h tiffvers.h sndfile.h)

TOOLCHAINS=$PWD/cmake/toolchains

windows_host() { case $1 in x64) echo x86_64-w64-mingw32 ;; x86) echo i686-w64-mingw32 ;; esac; }
windows_prefix() { echo "$WINDOWS_LIBRARIES/windows-$1"; }

# The unpacked source package's folder. The package lists with sources are apt's own, made private here, so that neither
# root is needed nor the system's configuration changed.
source_of() {
  local name=$1 work=$WINDOWS_LIBRARIES/sources
  mkdir -p "$work/apt" "$work/lists/partial" "$work/$name"
  if [ ! -f "$work/$name/.unpacked" ]; then
    local file
    for file in /etc/apt/sources.list.d/*.sources; do
      [ -f "$file" ] && sed 's/^Types:.*/Types: deb-src/' "$file" >"$work/apt/$(basename "$file")"
    done
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
      [ -f "$file" ] && sed -n 's/^deb\(-src\)\? /deb-src /p' "$file" >"$work/apt/$(basename "$file" .list).list"
    done
    printf 'Dir::Etc::SourceList "/dev/null";\nDir::Etc::SourceParts "%s";\nDir::State::Lists "%s";\nAPT::Sandbox::User "root";\n' \
      "$work/apt" "$work/lists" >"$work/apt.conf"
    (
      export APT_CONFIG=$work/apt.conf
      cd "$work/$name"
      release=$(. /etc/os-release && echo "$VERSION_CODENAME")
      apt-get update -q && { apt-get source -q "$name" || apt-get source -q "$name/$release" || unpack_unsigned "$name"; }
    ) >&2 || return 1
    touch "$work/$name/.unpacked"
  fi
  find "$work/$name" -mindepth 1 -maxdepth 1 -type d | head -n 1
}

# For mirrors that have everything but the upstream's signatures: apt has checked what it fetched.
unpack_unsigned() {
  local description; description=$(ls "$1"_*.dsc) && [ -f "$description" ] || return 1
  sed -i '/\.asc$/d' "$description"
  dpkg-source --no-check -x "$description"
}

# build_library WIDTH NAME BUILDER: calls BUILDER with the width and the source's folder, in a build folder of its own,
# unless that has been done.
build_library() {
  local width=$1 name=$2 builder=$3 source work
  local mark; mark=$(windows_prefix "$width")/.built/$name
  [ ! -f "$mark" ] || return 0
  say "Building $name for Windows $width"
  source=$(source_of "$name") || return 1
  work=$WINDOWS_LIBRARIES/build/$name-$width
  rm -rf "$work"; mkdir -p "$work" "$(dirname "$mark")"
  (cd "$work" && "$builder" "$width" "$source") >"$work.log" 2>&1 || { tail -n 40 "$work.log" >&2; return 1; }
  rm -rf "$work"
  touch "$mark"
}

with_cmake() {
  local width=$1 source=$2; shift 2
  cmake -G Ninja -S "$source" -B . -DCMAKE_TOOLCHAIN_FILE="$TOOLCHAINS/windows-$width.cmake" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$(windows_prefix "$width")" -DBUILD_SHARED_LIBS=OFF "$@" &&
    nice cmake --build . && cmake --install .
}

build_taglib() {
  export CPLUS_INCLUDE_PATH; CPLUS_INCLUDE_PATH=$(windows_prefix "$1")/include/utf8cpp
  with_cmake "$1" "$2" -DBUILD_TESTS=OFF -DBUILD_EXAMPLES=OFF -DBUILD_BINDINGS=OFF
}
build_googletest() { with_cmake "$1" "$2"; }
build_libpng() { with_cmake "$1" "$2" -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF; }
build_libjpeg() { with_cmake "$1" "$2" -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF -DWITH_SIMD=OFF; }

# Only the parts that the window uses; drawing needs GDI+, pictures of every format that an item may hold their libraries.
build_wxwidgets() {
  local host prefix flags=-O2; host=$(windows_host "$1"); prefix=$(windows_prefix "$1")
  [ "$1" = x64 ] || flags+=" -msse2 -mfpmath=sse -mstackrealign"
  "$2/configure" --host="$host" --prefix="$prefix" --with-msw --disable-shared --enable-monolithic --without-subdirs \
    --disable-debug --disable-debug_flag --enable-accessibility \
    --with-zlib=sys --with-libpng=sys --with-libjpeg=sys --without-libtiff --without-expat --without-regex \
    --without-opengl --without-liblzma --disable-webview --disable-mediactrl --disable-stc --disable-richtext \
    --disable-propgrid --disable-ribbon --disable-xrc --disable-html --disable-aui --disable-webrequest --disable-sockets \
    CC="$host-gcc-posix" CXX="$host-g++-posix" CPPFLAGS="-I$prefix/include" LDFLAGS="-L$prefix/lib" \
    CFLAGS="$flags" CXXFLAGS="$flags" &&
    nice make -j"$(nproc)" && make install
}

# Of zlib only the static library is to be found.
link_what_is_there() {
  local prefix include name folder; prefix=$(windows_prefix "$1") include=$(windows_prefix "$1")/include
  mkdir -p "$include" "$prefix/lib"
  ln -sfn "/usr/$(windows_host "$1")/lib/libz.a" "$prefix/lib/libz.a"
  for name in "${WINDOWS_HEADERS[@]}"; do
    for folder in /usr/include "/usr/include/$(dpkg-architecture -q DEB_HOST_MULTIARCH)"; do
      [ ! -e "$folder/$name" ] || ln -sfn "$folder/$name" "$include/$name"
    done
  done
}

build_core_libraries() {
  link_what_is_there "$1"
  build_library "$1" taglib build_taglib
}

build_test_libraries() { build_library "$1" googletest build_googletest; }

build_window_libraries() {
  build_library "$1" libpng1.6 build_libpng && build_library "$1" libjpeg-turbo build_libjpeg &&
    build_library "$1" wxwidgets3.2 build_wxwidgets
}
