# The fuzz build: the engine and the Qt layers compiled by clang with
# libFuzzer's coverage, AddressSanitizer and UndefinedBehaviorSanitizer, and
# the fuzz targets linked over them. The normal build makes it in
# build/fuzz-build and runs each target briefly; long runs use
# fuzz/run-campaign.sh.
if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "The fuzz build needs clang (libFuzzer): configure it with -DCMAKE_CXX_COMPILER=clang++")
endif()
set(BUILD_TESTING OFF)
set(TABULON_SANITIZE -fsanitize=address,undefined -fno-sanitize-recover=all)
add_compile_options(-O1 -g -fno-omit-frame-pointer -fsanitize=fuzzer-no-link ${TABULON_SANITIZE})
add_link_options(${TABULON_SANITIZE})
add_subdirectory(jet)
add_subdirectory(src)
add_subdirectory(fuzz)
