# Turns a text file into a C++ source file that holds its bytes, so the program carries
# the text inside itself. Run with -P and INPUT, OUTPUT, HEADER, FUNCTION defined:
# the output defines `std::string_view quorvane::FUNCTION()` declared in HEADER.
file(READ "${INPUT}" hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
get_filename_component(source_name "${INPUT}" NAME)
file(WRITE "${OUTPUT}.new"
  "// Made at build time from ${source_name}; edit that file, not this one.\n"
  "#include \"${HEADER}\"\n\n"
  "namespace quorvane {\n\n"
  "namespace {\n"
  "constexpr unsigned char kBytes[] = {${bytes}0x00};\n"
  "}  // namespace\n\n"
  "std::string_view ${FUNCTION}() {\n"
  "  return {reinterpret_cast<const char*>(kBytes), sizeof kBytes - 1};\n"
  "}\n\n"
  "}  // namespace quorvane\n")
# Only a changed text touches the output, so nothing recompiles without need.
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.new")
