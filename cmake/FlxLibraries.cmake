# Third-party libraries; each is included by one .cpp (or one header of its own) that wraps it. flxConfig.cmake.in looks
# for those that have something to link.
find_package(Threads REQUIRED)
find_package(fmt REQUIRED)
find_package(TBB REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Sleef REQUIRED)
