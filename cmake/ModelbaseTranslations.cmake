# Texts by id: a catalogue is one .ts file for each language, i18n/<catalogue>_<language>.ts in the
# calling folder. They are embedded in the target as :/i18n/<catalogue>_<language>.qm.
#
#   modelbase_translations(target catalogue folder...)
#
# The folders contain the code with the texts, `//% "English text"` above the id. After a text has
# changed there, the target `update_translations` updates the .ts files; a test fails until that is
# done and every language has the text.
set(MODELBASE_LANGUAGES en ar zh)

add_custom_target(update_translations)

function(modelbase_translations target catalogue)
    set(ts_files ${MODELBASE_LANGUAGES})
    list(TRANSFORM ts_files PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/i18n/${catalogue}_)
    list(TRANSFORM ts_files APPEND .ts)
    set(folders ${ARGN})
    list(TRANSFORM folders PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)

    qt_add_lrelease(${target} TS_FILES ${ts_files} OPTIONS -idbased -silent
                    QM_FILES_OUTPUT_VARIABLE qm_files)
    qt_add_resources(${target} ${catalogue}_texts
                     PREFIX /i18n BASE ${CMAKE_CURRENT_BINARY_DIR} FILES ${qm_files})

    add_custom_target(${target}_lupdate
        COMMAND Qt6::lupdate -silent -locations none -no-obsolete -source-language en
                -extensions cpp,h,qml ${folders} -ts ${ts_files}
        VERBATIM)
    add_dependencies(update_translations ${target}_lupdate)

    if(MODELBASE_TESTS)
        list(JOIN ts_files "|" ts_list)
        list(JOIN folders "|" folder_list)
        add_test(NAME ${catalogue}_texts COMMAND tst_catalogue)
        set_tests_properties(${catalogue}_texts PROPERTIES ENVIRONMENT
            "LUPDATE=$<TARGET_FILE:Qt6::lupdate>;TS_FILES=${ts_list};FOLDERS=${folder_list}")
    endif()
endfunction()
