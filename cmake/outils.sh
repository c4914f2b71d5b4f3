# Shared by ./check and ./demo: packages and build.

paquets_construction=(g++ cmake ninja-build pkg-config qt6-base-dev libqt6svg6-dev zlib1g-dev libbz2-dev libjpeg-dev
                      libutf8proc-dev)

# Installs the packages of the build and those named, as far as they are missing.
installe() {
  local manque=() p
  for p in "${paquets_construction[@]}" "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || manque+=("$p")
  done
  [ "${#manque[@]}" -gt 0 ] || return 0
  local sudo=""
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get update -qq
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${manque[@]}"
}

# configure_et_construit PRESET [TARGET…]
configure_et_construit() {
  local preset=$1 options=()
  shift
  command -v ccache >/dev/null && options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  cmake --preset "$preset" "${options[@]}" >/dev/null
  if [ "$#" -gt 0 ]; then
    cmake --build --preset "$preset" --target "$@"
  else
    cmake --build --preset "$preset"
  fi
}
