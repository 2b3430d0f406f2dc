# Adapts what protoc has generated from one schema: HEADER and SOURCE.

# It writes the export macro into the classes, but includes no definition of it.
file(READ ${HEADER} text)
string(REPLACE "// @@protoc_insertion_point(includes)"
       "#include \"modelbase_export.h\"\n// @@protoc_insertion_point(includes)" text "${text}")
file(WRITE ${HEADER} "${text}")

# Every program would parse all descriptors at its start. Without this line protobuf parses those of
# a file when the descriptor of one of its records is first asked for.
file(READ ${SOURCE} text)
string(REGEX REPLACE "\nPROTOBUF_[A-Z0-9_]+ static ::_pbi::AddDescriptorsRunner [^\n]*" ""
       text "${text}")
file(WRITE ${SOURCE} "${text}")
