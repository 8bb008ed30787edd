#!/usr/bin/env bash
# Installs what the armhf cross build and its test run need on a Debian machine, when something
# is missing (as root): the cross compilers, qemu-user and the armhf development packages of
# the dependencies.
# libssl-dev is Multi-Arch "same", so its amd64 and armhf packages must be of one version:
# the newest version that the package lists offer for both architectures is installed for both
# (a mirror whose security list of one architecture lags behind the other still works).
set -euo pipefail

native=$(dpkg --print-architecture)
packages=(gcc-arm-linux-gnueabihf g++-arm-linux-gnueabihf qemu-user cmake make pkg-config
          libssl-dev libssl-dev:armhf libtinyxml-dev:armhf libgtest-dev:armhf)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
if [ "$(id -u)" != 0 ]; then
  echo "Missing packages for the armhf build: ${missing[*]} (run make test-armhf as root to install them)" >&2
  exit 1
fi
echo "Installing the armhf cross build's packages (missing: ${missing[*]})"
apt_get() { DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 "$@"; }

if ! dpkg --print-foreign-architectures | grep -qx armhf; then
  dpkg --add-architecture armhf
fi
# A list that fails to download (a mirror in the middle of a sync) leaves the old one in place.
apt_get update || true

# VERSIONS ARCH PACKAGE: the versions offered for ARCH, newest first.
versions() { apt-cache madison "$2:$1" | awk -v a="$1" '$0 ~ a" Packages" { print $3 }' | sort -u -r -V; }
ssl=""
for v in $(versions armhf libssl-dev); do
  if versions "$native" libssl-dev | grep -qxF "$v"; then ssl=$v; break; fi
done
if [ -z "$ssl" ]; then
  echo "$0: no libssl-dev version is offered for both $native and armhf" >&2
  exit 1
fi

apt_get install -y --no-install-recommends --allow-downgrades \
  $(printf '%s\n' "${packages[@]}" | grep -v '^libssl-dev') \
  "libssl-dev:$native=$ssl" "libssl3:$native=$ssl" "libssl-dev:armhf=$ssl" "libssl3:armhf=$ssl"
