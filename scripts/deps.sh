#!/usr/bin/env bash
# Installs the Debian packages that building and testing need, when missing,
# and a locale with a decimal comma for the locale test. Needs root for
# anything it has to install; otherwise it only reports what is missing.
set -euo pipefail

packages=(cmake ninja-build g++ clang libgtest-dev libgmock-dev libbenchmark-dev
          libcli11-dev nlohmann-json3-dev locales binutils strace pkg-config
          pybind11-dev python3-pybind11 python3-dev python3-numpy python3-pytest python3-ase
          python3-jsonschema python3-distributed
          python3-setuptools python3-wheel python3-build python3-venv python3-pip)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ "${#missing[@]}" -gt 0 ]; then
    if [ "$(id -u)" -ne 0 ]; then
        echo "deps: missing Debian packages (install them as root): ${missing[*]}" >&2
        exit 1
    fi
    echo "deps: installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -q
    apt-get install -y -q "${missing[@]}"
fi

if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
    if [ "$(id -u)" -eq 0 ]; then
        echo "deps: generating the de_DE.UTF-8 locale for the locale test"
        localedef -i de_DE -f UTF-8 de_DE.UTF-8 || echo "deps: could not generate de_DE.UTF-8" >&2
    else
        echo "deps: no de_DE.UTF-8 locale; the locale test will be skipped" >&2
    fi
fi
