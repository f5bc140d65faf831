# corvystack_importer(NAME
#     IDENTIFIER org.example.notes          of the bundle
#     TYPES public.x-notes ...              content types that it reads
#     SOURCES notes.c ...
#     [LINKS ...]
#     [FACTORY name]                        as in CORVY_IMPORTER(name, ...); CorvyImporterFactory
#     [FACTORY_UUID ...]                    made of the identifier
#     [OUTPUT folder]                       where the bundle is built; the build folder
#     [DESTINATION folder]                  where it is installed; share/corvystack/Spotlight
#     [NO_INSTALL]                          it is built only
#
# Builds and installs the bundle NAME.mdimporter; the target is NAME. Installed with the prefix
# ~/.local it lies in the user's Spotlight folder.

set(_CORVYSTACK_INFO "${CMAKE_CURRENT_LIST_DIR}/Info.plist.in")

function(corvystack_importer name)
    cmake_parse_arguments(ARG "NO_INSTALL" "IDENTIFIER;FACTORY;FACTORY_UUID;OUTPUT;DESTINATION"
        "TYPES;SOURCES;LINKS" ${ARGN})
    foreach(required IDENTIFIER TYPES SOURCES)
        if(NOT ARG_${required})
            message(FATAL_ERROR "corvystack_importer(${name}) needs ${required}")
        endif()
    endforeach()
    if(NOT ARG_FACTORY)
        set(ARG_FACTORY CorvyImporterFactory)
    endif()
    if(NOT ARG_FACTORY_UUID)
        string(UUID ARG_FACTORY_UUID NAMESPACE 8B08C4BF-415B-11D8-B3F9-0003936726FC
            NAME "${ARG_IDENTIFIER}" TYPE SHA1 UPPER)
    endif()
    if(NOT ARG_OUTPUT)
        set(ARG_OUTPUT "${CMAKE_CURRENT_BINARY_DIR}")
    endif()
    if(NOT ARG_DESTINATION)
        set(ARG_DESTINATION share/corvystack/Spotlight)
    endif()
    set(contents "${name}.mdimporter/Contents")

    add_library(${name} MODULE ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE CorvyStack::importer ${ARG_LINKS})
    # Nothing but the factory shows, neither of its sources nor of libraries that are part of it.
    set_target_properties(${name} PROPERTIES
        PREFIX "" SUFFIX ""
        C_VISIBILITY_PRESET hidden
        CXX_VISIBILITY_PRESET hidden
        LIBRARY_OUTPUT_DIRECTORY "${ARG_OUTPUT}/${contents}/Linux")
    target_link_options(${name} PRIVATE "LINKER:--exclude-libs,ALL")

    set(types "")
    foreach(type IN LISTS ARG_TYPES)
        string(APPEND types "\n                <string>${type}</string>")
    endforeach()
    set(info_name "${name}")
    set(info_identifier "${ARG_IDENTIFIER}")
    set(info_types "${types}")
    set(info_factory "${ARG_FACTORY}")
    set(info_factory_uuid "${ARG_FACTORY_UUID}")
    configure_file("${_CORVYSTACK_INFO}" "${ARG_OUTPUT}/${contents}/Info.plist" @ONLY)

    if(ARG_NO_INSTALL)
        return()
    endif()
    install(TARGETS ${name} LIBRARY DESTINATION "${ARG_DESTINATION}/${contents}/Linux")
    install(FILES "${ARG_OUTPUT}/${contents}/Info.plist"
        DESTINATION "${ARG_DESTINATION}/${contents}")
endfunction()
