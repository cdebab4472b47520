# Compiler settings shared by every target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(FLX_CCACHE ccache)
    if(FLX_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${FLX_CCACHE})
    endif()
endif()

# Contraction would give other bits with FMA than without; errno and traps keep noise and the column machine from
# vectorising. No fast-math: results are IEEE everywhere.
include(CheckCXXCompilerFlag)
add_library(flx_compile INTERFACE)
target_compile_options(flx_compile INTERFACE -Wall -Wextra -Wconversion -Wshadow $<$<BOOL:${FLX_WERROR}>:-Werror>
    -fno-math-errno -fno-trapping-math)
check_cxx_compiler_flag(-ffp-contract=off FLX_HAS_FP_CONTRACT)
if(FLX_HAS_FP_CONTRACT)
    target_compile_options(flx_compile INTERFACE -ffp-contract=off)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12's SLP vectoriser drops the rounding to float between two double computations; its -Wrestrict sees overlaps
    # in literal + std::string that are not there.
    target_compile_options(flx_compile INTERFACE -fno-tree-slp-vectorize -Wno-restrict)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    target_compile_options(flx_compile INTERFACE -march=x86-64-v2)
endif()

if(FLX_BUILD_FUZZ)
    target_compile_options(flx_compile INTERFACE -fsanitize=fuzzer-no-link)
endif()
set(FLX_SANITIZE "" CACHE STRING "Sanitizers, for example address,undefined or thread")
if(FLX_SANITIZE)
    target_compile_options(flx_compile INTERFACE -fsanitize=${FLX_SANITIZE} -fno-omit-frame-pointer)
    if(FLX_SANITIZE MATCHES undefined)
        target_compile_options(flx_compile INTERFACE -fno-sanitize-recover=undefined)
    endif()
    target_link_options(flx_compile INTERFACE -fsanitize=${FLX_SANITIZE})
    # The packaged TBB is not instrumented: its own waiting looks like races, and under GCC's runtime it never ends.
    # The wrapper around it then runs its blocks on std::thread, so that the races looked for are ours.
    if(FLX_SANITIZE MATCHES thread)
        target_compile_definitions(flx_compile INTERFACE FLX_WITHOUT_TBB)
    endif()
endif()
