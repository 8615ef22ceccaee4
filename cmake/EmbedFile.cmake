# Writes a C++ source that holds the bytes of INPUT as the array SYMBOL in
# namespace core::detail, aligned as ICU wants its data. HEADER declares it.
file(READ ${INPUT} bytes HEX)
string(LENGTH "${bytes}" length)
math(EXPR size "${length} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
string(REGEX REPLACE "((0x..,){16})" "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT}
  "// Generated from ${INPUT}; do not edit.\n"
  "#include \"${HEADER}\"\n\n"
  "namespace core::detail {\n\n"
  "const std::size_t ${SYMBOL}Size = ${size};\n"
  "alignas(16) const unsigned char ${SYMBOL}[] = {\n${bytes}};\n\n"
  "}  // namespace core::detail\n")
