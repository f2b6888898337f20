# Cross build for AArch64 Linux against Debian's arm64 packages (scripts/bootstrap-aarch64), its
# programs run under qemu-user. The libraries are found where the native build finds them, in
# their arm64 multiarch folders; hidl-gen runs natively.
#   cmake -S . -B build/aarch64 --toolchain cmake/aarch64-linux-gnu.cmake
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
if(NOT CMAKE_CXX_COMPILER)
  set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
endif()

# The arm64 copy of /usr/lib/p7zip/7z.so, which libbacktrace (under libutils) needs and which
# cannot be installed beside the native one: unpacked into a root of its own, where the linker
# and the emulator look first.
set(TEV_AARCH64_ROOT "${CMAKE_CURRENT_LIST_DIR}/../build/aarch64-root"
    CACHE PATH "Private root holding the arm64 usr/lib/p7zip/7z.so")
get_filename_component(TEV_AARCH64_ROOT "${TEV_AARCH64_ROOT}" ABSOLUTE)
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-Wl,-rpath-link,${TEV_AARCH64_ROOT}/usr/lib/p7zip")
endforeach()
find_program(TEV_QEMU qemu-aarch64 REQUIRED)
# Cached, so that scripts read it from the build folder.
set(CMAKE_CROSSCOMPILING_EMULATOR "${TEV_QEMU};-L;${TEV_AARCH64_ROOT}"
    CACHE STRING "The command words that run a program of the build")
