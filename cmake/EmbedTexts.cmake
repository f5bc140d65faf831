# cmake -D OUT=FILE -D HEADER=NAME -D NAMES=kA,kB -D FILES=a,b -P EmbedTexts.cmake
#
# Writes a C++ source with the contents of each file as a constant of namespace corvy::tools.
string(REPLACE "," ";" NAMES "${NAMES}")
string(REPLACE "," ";" FILES "${FILES}")
set(source "#include \"${HEADER}\"\n\nnamespace corvy::tools {\n\n")
foreach(name file IN ZIP_LISTS NAMES FILES)
    file(READ "${file}" contents)
    string(APPEND source "const std::string_view ${name} = R\"embedded(${contents})embedded\";\n\n")
endforeach()
string(APPEND source "}  // namespace corvy::tools\n")
file(WRITE "${OUT}" "${source}")
