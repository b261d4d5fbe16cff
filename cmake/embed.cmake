# Turns a binary file into a C++ source that defines
#   extern const unsigned char <symbol>[]; extern const std::size_t <symbol>Size;
# Run as a script: cmake -DINPUT=... -DOUTPUT=... -DSYMBOL=... -P embed.cmake
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" hexLength)
math(EXPR size "${hexLength} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
file(WRITE "${OUTPUT}" "#include <cstddef>\n\nnamespace quern::assets {\nextern const unsigned char ${SYMBOL}[] = {\n${bytes}\n};\nextern const std::size_t ${SYMBOL}Size = ${size};\n}  // namespace quern::assets\n")
