# protoc writes the export macro into the classes, but includes no definition of it: add the
# include.
file(READ ${HEADER} text)
string(REPLACE "// @@protoc_insertion_point(includes)"
       "#include \"modelbase_export.h\"\n// @@protoc_insertion_point(includes)" text "${text}")
file(WRITE ${HEADER} "${text}")
