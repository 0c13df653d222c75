# Sourced by scripts/test and scripts/demo: installs the Debian packages the project needs,
# skipping those already present.

NBX_BUILD_PACKAGES=(
  cmake ninja-build g++ pkg-config gzip
  qt6-base-dev libplist-dev libcurl4-openssl-dev libcpp-httplib-dev libpugixml-dev
  libcups2-dev libssl-dev libsystemd-dev libqpdf-dev famfamfam-flag-png dpkg-dev
)
NBX_TEST_PACKAGES=(
  googletest libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev rapidjson-dev
  clang-14 libclang-rt-14-dev libfuzzer-14-dev
  cups cups-client cups-filters dbus xvfb xauth desktop-file-utils strace
)
NBX_DEMO_PACKAGES=(cups cups-client cups-filters xvfb xauth imagemagick x11-utils dbus-x11 adwaita-icon-theme fonts-dejavu-core)

nbx_install_packages() {
  local missing=()
  for pkg in "$@"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing: ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
