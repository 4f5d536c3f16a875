# Sourced by the other scripts: installs what is missing, and says what.

PACKAGES=(build-essential cmake ninja-build ccache git
    qt6-base-dev qt6-base-private-dev qt6-shadertools-dev libqt6sql6-sqlite libqt6sql6-psql libqt6svg6 libgl-dev libvulkan-dev
    qt6-shader-baker glslang-tools spirv-tools mesa-vulkan-drivers vulkan-validationlayers libgl1-mesa-dri xvfb
    libbenchmark-dev clang-format)

install_missing_packages() {
    local missing=() package
    for package in "${PACKAGES[@]}"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing missing packages: ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "Not root and no sudo: please install them and run this again." >&2; return 1; }
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -q &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}
