# What is installed beside the programs: the libraries that applications link, manual pages,
# completion, units of systemd and D-Bus, and the Debian packages made of it all.

include(CMakePackageConfigHelpers)

# The toolkit without the adapters of document libraries.
add_library(corvy_toolkit INTERFACE)
target_link_libraries(corvy_toolkit INTERFACE
    corvy_feeds
    corvy_markup
    corvy_text
    corvy_web_archive)
set_target_properties(corvy_toolkit PROPERTIES EXPORT_NAME toolkit)
set_target_properties(corvy_client PROPERTIES EXPORT_NAME client)

# In the order in which a linker wants them.
set(CORVY_CLIENT_LIBRARIES corvy_client corvy_messaging corvy_sealed_memory corvy_foundation)
set(CORVY_TOOLKIT_LIBRARIES corvy_feeds corvy_web_archive corvy_text corvy_markup
    corvy_property_list corvy_foundation)

set(installed ${CORVY_CLIENT_LIBRARIES} ${CORVY_TOOLKIT_LIBRARIES} corvy_toolkit)
list(REMOVE_DUPLICATES installed)
# Headers include each other from the folder that ours are in.
foreach(library ${installed})
    target_include_directories(${library} INTERFACE
        "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>"
        "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/corvystack>")
endforeach()
install(TARGETS ${installed} EXPORT CorvyStackTargets
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
foreach(folder client feeds foundation markup text)
    install(DIRECTORY "${CMAKE_SOURCE_DIR}/src/${folder}"
            DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/corvystack" COMPONENT development
            FILES_MATCHING PATTERN "*.h" PATTERN encodings.inc
            PATTERN generate EXCLUDE PATTERN encoding EXCLUDE)
endforeach()
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/CorvyStack")
install(EXPORT CorvyStackTargets NAMESPACE CorvyStack:: DESTINATION "${package_folder}"
        COMPONENT development)
configure_package_config_file(packaging/CorvyStackConfig.cmake.in CorvyStackConfig.cmake
    INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file(CorvyStackConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/CorvyStackConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/CorvyStackConfigVersion.cmake"
        DESTINATION "${package_folder}" COMPONENT development)

function(corvy_pkg_config name description requires)
    set(CORVY_PC_DESCRIPTION "${description}")
    set(CORVY_PC_REQUIRES "${requires}")
    file(RELATIVE_PATH CORVY_PC_UP "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
    list(TRANSFORM ARGN PREPEND "-l")
    list(JOIN ARGN " " CORVY_PC_LIBS)
    configure_file(packaging/corvystack.pc.in ${name}.pc @ONLY)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}.pc"
            DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()
corvy_pkg_config(corvystack "Client of the CorvyStack helper"
    "glib-2.0 libsystemd icu-uc icu-i18n" ${CORVY_CLIENT_LIBRARIES})
corvy_pkg_config(corvystack-toolkit "Text and web toolkit of CorvyStack"
    "icu-uc icu-i18n" ${CORVY_TOOLKIT_LIBRARIES})

# Units and activation of the user's service name the helper by its path, which is known only when
# it is installed.
install(CODE "
    set(CORVY_HELPER \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBEXECDIR}/corvystack/corvystack-helper\")
    foreach(unit corvystack.socket corvystack.service org.corvystack.Helper64.service)
        configure_file(\"${CMAKE_SOURCE_DIR}/packaging/\${unit}.in\"
            \"${CMAKE_CURRENT_BINARY_DIR}/\${unit}\" @ONLY)
    endforeach()")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/corvystack.socket"
              "${CMAKE_CURRENT_BINARY_DIR}/corvystack.service"
        DESTINATION lib/systemd/user)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/org.corvystack.Helper64.service"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/dbus-1/services")

# The pages are written by the program itself, so that they tell what it takes.
set(manual "${CMAKE_BINARY_DIR}/manual")
add_custom_command(OUTPUT "${manual}/corvystack.1"
    COMMAND "${CMAKE_SOURCE_DIR}/packaging/make-manual" $<TARGET_FILE:corvystack> "${manual}"
    DEPENDS corvystack packaging/make-manual
    COMMENT "Writing the manual pages" VERBATIM)
add_custom_target(manual ALL DEPENDS "${manual}/corvystack.1")
install(DIRECTORY "${manual}/" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
install(FILES packaging/corvystack.bash RENAME corvystack
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
# Debian's zsh looks for what packages bring in a folder of their own.
install(CODE "
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\" AND EXISTS /etc/debian_version)
        set(functions vendor-completions)
    else()
        set(functions site-functions)
    endif()
    file(INSTALL \"${CMAKE_SOURCE_DIR}/packaging/_corvystack\"
        DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/zsh/\${functions}\")")
install(FILES LICENSE docs/licences.md DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/corvystack")

# `make package` makes corvystack and corvystack-dev.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corvystack)
set(CPACK_PACKAGE_CONTACT "CorvyStack developers <corvystack@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Background helper of a document database")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Unspecified development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_NAME corvystack)
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_DEPENDS poppler-data)
# Run for PostScript; without it such files give nothing.
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_RECOMMENDS ghostscript)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME corvystack-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "corvystack (= ${PROJECT_VERSION}), libglib2.0-dev, libicu-dev, libsystemd-dev, zlib1g-dev")
include(CPack)
