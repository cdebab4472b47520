# Sleef::sleef, which Debian packages without a CMake config. Installed beside flxConfig.cmake, which needs it too.
find_path(SLEEF_INCLUDE_DIR sleef.h)
find_library(SLEEF_LIBRARY sleef)
mark_as_advanced(SLEEF_INCLUDE_DIR SLEEF_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Sleef REQUIRED_VARS SLEEF_LIBRARY SLEEF_INCLUDE_DIR)

if(Sleef_FOUND AND NOT TARGET Sleef::sleef)
    add_library(Sleef::sleef UNKNOWN IMPORTED)
    set_target_properties(Sleef::sleef PROPERTIES IMPORTED_LOCATION ${SLEEF_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${SLEEF_INCLUDE_DIR})
endif()
