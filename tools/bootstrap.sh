#!/usr/bin/env bash
# Installs what building and testing xebruk needs on a fresh Debian machine
# (run as root, or with sudo available).  Does nothing when all is present.
set -euo pipefail
need=()
command -v cmake >/dev/null || need+=(cmake)
command -v ninja >/dev/null || need+=(ninja-build)
command -v g++ >/dev/null || need+=(g++)
command -v nm >/dev/null || need+=(binutils)
command -v pkg-config >/dev/null || need+=(pkg-config)
[ -f /usr/include/gtest/gtest.h ] || need+=(libgtest-dev)
[ -f /usr/include/benchmark/benchmark.h ] || need+=(libbenchmark-dev)
[ -f /usr/include/mpfr.h ] || need+=(libmpfr-dev)
# GSL and Boost.Math: references of the law tests (Gamma's and Beta's
# distribution functions).
[ -f /usr/include/gsl/gsl_sf_gamma.h ] || need+=(libgsl-dev)
[ -f /usr/include/boost/math/special_functions/beta.hpp ] || need+=(libboost-dev)
# FFTW: peer of the signal benchmarks only; the library does not use it.
[ -f /usr/include/fftw3.h ] || need+=(libfftw3-dev)
if [ ${#need[@]} -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -q
  $sudo_cmd apt-get install -y -q --no-install-recommends "${need[@]}"
fi
