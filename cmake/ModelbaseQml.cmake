# The QML module: `import im.modelbase`. It contains every class with MODELBASE_QML_TYPE or
# MODELBASE_QML_SINGLETON.
set(qml_dir ${CMAKE_BINARY_DIR}/qml)
qt_add_qml_module(modelbase
    URI im.modelbase
    VERSION 1.0
    OUTPUT_DIRECTORY ${qml_dir}/im/modelbase
    PLUGIN_TARGET modelbase_qml
    NO_PLUGIN_OPTIONAL)
# The generated registration includes headers by file name only.
target_include_directories(modelbase PRIVATE
    account settings content content/items dialog)
set_target_properties(modelbase_qml PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${qml_dir}/im/modelbase
                      INSTALL_RPATH "$ORIGIN/../../..")

set(qml_install_dir ${CMAKE_INSTALL_LIBDIR}/qml/im/modelbase)
install(TARGETS modelbase_qml LIBRARY DESTINATION ${qml_install_dir}
                              RUNTIME DESTINATION ${qml_install_dir})
install(FILES ${qml_dir}/im/modelbase/qmldir ${qml_dir}/im/modelbase/modelbase.qmltypes
        DESTINATION ${qml_install_dir})
