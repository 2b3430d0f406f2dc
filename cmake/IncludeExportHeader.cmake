# protoc writes the export macro into the classes, but nothing that defines it: add the include.
file(READ ${HEADER} text)
string(REPLACE "// @@protoc_insertion_point(includes)"
       "#include \"modelbase_export.h\"\n// @@protoc_insertion_point(includes)" text "${text}")
file(WRITE ${HEADER} "${text}")
