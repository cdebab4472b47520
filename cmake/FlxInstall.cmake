# cmake --install: headers, libraries, find_package(flx), pkg-config, the tool with its man page and completions.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

get_property(layers GLOBAL PROPERTY FLX_LAYERS)
get_property(folders GLOBAL PROPERTY FLX_FOLDERS)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/flx)

if(layers)
    install(TARGETS ${layers} EXPORT flxTargets)
    install(EXPORT flxTargets NAMESPACE flx:: DESTINATION ${package_dir})
    foreach(folder ${folders})
        install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/${folder} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/flx
            FILES_MATCHING PATTERN *.h)
    endforeach()

    configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/flxConfig.cmake.in ${CMAKE_BINARY_DIR}/flxConfig.cmake
        INSTALL_DESTINATION ${package_dir})
    write_basic_package_version_file(${CMAKE_BINARY_DIR}/flxConfigVersion.cmake COMPATIBILITY SameMinorVersion)
    install(FILES ${CMAKE_BINARY_DIR}/flxConfig.cmake ${CMAKE_BINARY_DIR}/flxConfigVersion.cmake
        ${CMAKE_CURRENT_LIST_DIR}/FindSleef.cmake DESTINATION ${package_dir})

    install(FILES ${PROJECT_SOURCE_DIR}/src/host/node/predefined.rules DESTINATION ${CMAKE_INSTALL_DATADIR}/flx)

    # Static libraries: users before used, and pkg-config finds everything else they link.
    set(FLX_PC_LIBS "")
    foreach(layer ${layers})
        string(PREPEND FLX_PC_LIBS "-l${layer} ")
    endforeach()
    set(FLX_PC_CFLAGS "")
    if(FLX_HAS_FP_CONTRACT)
        set(FLX_PC_CFLAGS " -ffp-contract=off")
    endif()
    file(RELATIVE_PATH FLX_PC_UP /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/flx.pc.in ${CMAKE_BINARY_DIR}/flx.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/flx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()

if(TARGET flx_cli)
    install(TARGETS flx_cli)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/flx.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${PROJECT_SOURCE_DIR}/completions/flx.bash RENAME flx
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES ${PROJECT_SOURCE_DIR}/completions/_flx DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/data/ DESTINATION ${CMAKE_INSTALL_DATADIR}/flx)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
