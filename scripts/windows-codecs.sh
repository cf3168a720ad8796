# Sourced after windows-libraries.sh: builds the codec libraries that the Windows programs open at run time, as DLLs, from
# the same source packages that the Linux programs' codec libraries come from.
#
#   build_codec_libraries WIDTH    builds what is missing
#   codec_dlls WIDTH               prints the files, those that they need themselves included
#   library_terms                  prints the terms of every library that is handed on with the programs or in them

CODEC_DLLS=(libFLAC-12 libogg-0 libvorbis-0 libvorbisenc-2 libvorbisfile-3 libopus-0 libopusfile-0 libopusenc-0 libmpg123-0
  libmp3lame-0 libwavpack-1 libgsm libsndfile-1)
CODEC_SOURCES=(libogg flac libvorbis opus opusfile libopusenc mpg123 lame wavpack libgsm libsndfile)

codec_prefix() { echo "$(windows_prefix "$1")/codecs"; }
codec_flags() { echo "-O2$([ "$1" = x64 ] || echo " -msse2 -mfpmath=sse -mstackrealign")"; }

# with_configure WIDTH SOURCE ARGUMENTS...: the DLLs need no library of the compiler's, as fortified functions would.
# Debian's patches must not make anybody think that the build system's own files have to be made anew.
with_configure() {
  local width=$1 source=$2 host prefix; host=$(windows_host "$1") prefix=$(codec_prefix "$1"); shift 2
  export PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig
  "$source/configure" --host="$host" --prefix="$prefix" --enable-shared --disable-static --disable-dependency-tracking \
    CC="$host-gcc-posix -static-libgcc" CFLAGS="$(codec_flags "$width")" LDFLAGS="-L$prefix/lib" \
    CPPFLAGS="-I$prefix/include -D_FORTIFY_SOURCE=0" \
    ACLOCAL=: AUTOCONF=: AUTOHEADER=: AUTOMAKE=: MAKEINFO=: "$@" &&
    nice make -j"$(nproc)" LDFLAGS="-L$prefix/lib -no-undefined" && make install
}

build_libogg() { with_configure "$@"; }
build_flac() {
  with_configure "$@" --disable-cpplibs --disable-programs --disable-examples --disable-doxygen-docs \
    --disable-stack-smash-protection ac_cv_search___memset_chk="none required" ac_cv_search___stack_chk_fail="none required"
}
build_libvorbis() { with_configure "$@" --disable-docs --disable-examples; }
build_opus() { with_configure "$@" --disable-doc --disable-extra-programs --disable-hardening; }
build_opusfile() { with_configure "$@" --disable-http --disable-examples --disable-doc; }
build_libopusenc() { with_configure "$@" --disable-examples --disable-doc; }
build_mpg123() { with_configure "$@"; }
build_wavpack() { with_configure "$@" --disable-apps --disable-man --disable-rpath; }
# Its list of exported names has one that it does not define.
build_lame() {
  sed -i '/lame_init_old/d' "$2/include/libmp3lame.sym"
  with_configure "$@" --disable-frontend --disable-gtktest
}

build_libgsm() {
  local prefix sources; prefix=$(codec_prefix "$1")
  sources=$(find "$2/src" -name '*.c' ! -name 'toast*')
  # The program's own parts are not the library's.
  "$(windows_host "$1")-gcc-posix" $(codec_flags "$1") -w -DNDEBUG -DSASR -DWAV49 -DNeedFunctionPrototypes=1 -I"$2/inc" $sources \
    -shared -static-libgcc -o "$prefix/bin/libgsm.dll"
}

# The formats that have libraries of their own are not opened by way of this one.
build_libsndfile() {
  cmake -G Ninja -S "$2" -B . -DCMAKE_TOOLCHAIN_FILE="$TOOLCHAINS/windows-$1.cmake" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_FLAGS="$(codec_flags "$1")" -DCMAKE_SHARED_LINKER_FLAGS=-static-libgcc -DCMAKE_INSTALL_PREFIX="$PWD/installed" \
    -DBUILD_SHARED_LIBS=ON -DENABLE_EXTERNAL_LIBS=OFF -DENABLE_MPEG=OFF -DBUILD_PROGRAMS=OFF -DBUILD_EXAMPLES=OFF -DBUILD_TESTING=OFF &&
    nice cmake --build . && cmake --install . && cp installed/bin/*sndfile*.dll "$(codec_prefix "$1")/bin/libsndfile-1.dll"
}

build_codec_libraries() {
  local name
  mkdir -p "$(codec_prefix "$1")/bin"
  for name in "${CODEC_SOURCES[@]}"; do build_library "$1" "$name" "build_$name" || return 1; done
}

codec_dlls() { (cd "$(codec_prefix "$1")/bin" && realpath -e "${CODEC_DLLS[@]/%/.dll}"); }

# Where each library's terms are, in its source package or on this system.
TERMS=(libogg:COPYING flac:COPYING.Xiph libvorbis:COPYING opus:COPYING opusfile:COPYING libopusenc:COPYING mpg123:COPYING
  lame:COPYING wavpack:COPYING libgsm:COPYRIGHT libsndfile:COPYING taglib:COPYING.MPL wxwidgets3.2:docs/licence.txt
  libpng1.6:LICENSE libjpeg-turbo:LICENSE.md libjpeg-turbo:README.ijg libz-mingw-w64-dev:/ libcli11-dev:/ nlohmann-json3-dev:/
  libutfcpp-dev:/)

library_terms() {
  local entry name file folder
  cat <<'HEAD'
The libraries that come with Vemko Studio or are a part of its programs, and their terms. All are built from Debian's source
packages of these names and versions, which Debian offers to everybody. The codec libraries are DLLs of their own, which may be
replaced by others of the same names.
HEAD
  for entry in "${TERMS[@]}"; do
    name=${entry%%:*} file=${entry#*:}
    if [ "$file" = / ]; then
      folder=/usr/share/doc/$name file=copyright
      name="$name $(dpkg-query -W -f '${Version}' "$name")"
    else
      folder=$(source_of "$name") || return 1
      name=$(basename "$folder")
    fi
    printf '\n%s\n%s, %s\n\n' ------------------------------------------------------------------------ "$name" "$(basename "$file")"
    cat "$folder/$file" || return 1
  done
}
