# Settings common to all targets of this project.

set(MODELBASE_SANITIZE "" CACHE STRING "Sanitizers to build with, as in -fsanitize=")
if(MODELBASE_SANITIZE)
    add_compile_options(-fsanitize=${MODELBASE_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer -g1 -O1)
    add_link_options(-fsanitize=${MODELBASE_SANITIZE})
endif()

# Strict definitions and warnings for hand-written code.
function(modelbase_target target)
    target_compile_definitions(${target} PRIVATE
        QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH)
    if(NOT MSVC)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow)
    endif()
endfunction()

# Views of the sample, compiled ahead of time; their generated code shadows names.
function(modelbase_views target)
    modelbase_target(${target})
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "/qmlcache/")
    if(NOT MSVC)
        set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS -Wno-shadow)
    endif()
endfunction()

# The headers that mark what a library exports; everything else is hidden.
include(GenerateExportHeader)
set(MODELBASE_EXPORT_HEADERS ${PROJECT_BINARY_DIR}/exports)

# A library of the product. In the build tree its headers are found relative to the same root as
# when installed: "settings/..." at the top of the tree, "base/..." inside platform/.
function(modelbase_library target)
    modelbase_target(${target})
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    # Saves looking up thousands of symbols at each start. Qt then requires -fPIC of whatever links
    # to it.
    if(QT_FEATURE_reduce_relocations AND NOT APPLE AND NOT WIN32)
        target_link_options(${target} PRIVATE LINKER:-Bsymbolic)
    endif()
    install(TARGETS ${target} EXPORT modelbaseTargets
            RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
            INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
                                 ${CMAKE_INSTALL_INCLUDEDIR}/modelbase)
endfunction()

# Generates <target>_export.h in <folder> of the headers, which defines MODELBASE_<macro>.
function(modelbase_export_header target folder macro)
    cmake_path(APPEND folder ${target}_export.h OUTPUT_VARIABLE header)
    generate_export_header(${target} EXPORT_MACRO_NAME ${macro}
                           EXPORT_FILE_NAME ${MODELBASE_EXPORT_HEADERS}/${header}
                           PREFIX_NAME MODELBASE_)
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${MODELBASE_EXPORT_HEADERS}>)
    install(FILES ${MODELBASE_EXPORT_HEADERS}/${header}
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/modelbase/${folder})
endfunction()

# A platform library: platform/<name>, target modelbase::<name>, includes "<name>/...".
function(modelbase_platform_library name)
    add_library(${name} SHARED ${ARGN})
    add_library(modelbase::${name} ALIAS ${name})
    modelbase_library(${name})
    set_target_properties(${name} PROPERTIES OUTPUT_NAME modelbase_${name})
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform>)
    string(TOUPPER ${name} upper)
    modelbase_export_header(${name} ${name} ${upper}_EXPORT)
endfunction()

# Public headers of the calling folder, installed under modelbase/<folder>/.
function(modelbase_headers)
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}
               OUTPUT_VARIABLE folder)
    string(REGEX REPLACE "^platform/" "" folder "${folder}")
    install(FILES ${ARGN} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/modelbase/${folder})
endfunction()
