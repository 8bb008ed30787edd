# Cross build for the box, 32-bit ARM Linux with hard float, on a Debian machine with the
# cross compilers and the armhf packages of the dependencies (multiarch):
#   cmake -S . -B build-armhf -DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake
# `make test-armhf` installs those packages and runs the test suite under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(VONAUTIL_TARGET_TRIPLE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER ${VONAUTIL_TARGET_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${VONAUTIL_TARGET_TRIPLE}-g++)
# GCC notes on every std::pair<..., long long> argument that its passing changed in GCC 7.1;
# the whole build uses one compiler, so that does not concern it.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
# Libraries, CMake packages and pkg-config files of the target come from the multiarch folders.
set(CMAKE_LIBRARY_ARCHITECTURE ${VONAUTIL_TARGET_TRIPLE})
set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/${VONAUTIL_TARGET_TRIPLE}/pkgconfig:/usr/share/pkgconfig")

# Test programs (and GoogleTest's test discovery) run through the emulator.
find_program(VONAUTIL_QEMU_ARM qemu-arm)
if(VONAUTIL_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${VONAUTIL_QEMU_ARM})
endif()
