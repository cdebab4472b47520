# Third-party libraries; each is included by one .cpp (or one header of its own) that wraps it.
find_package(Threads REQUIRED)
find_package(fmt REQUIRED)
find_package(TBB REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
find_package(ZLIB REQUIRED)

find_path(SLEEF_INCLUDE_DIR sleef.h REQUIRED)
find_library(SLEEF_LIBRARY sleef REQUIRED)
add_library(flx_sleef INTERFACE)
target_include_directories(flx_sleef SYSTEM INTERFACE ${SLEEF_INCLUDE_DIR})
target_link_libraries(flx_sleef INTERFACE ${SLEEF_LIBRARY})
