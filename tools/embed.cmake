# velmora_embed(target file name): a library whose header "<target>.h" declares
# std::string_view velmora::resources::<name>(), the bytes of the file, with %HOME_DOMAIN% replaced.
function(velmora_embed target file name)
  set(folder ${CMAKE_BINARY_DIR}/embedded/${target})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  if(EXISTS ${file})
    file(READ ${file} text HEX)
  else()
    set(text "")
  endif()
  string(HEX "%HOME_DOMAIN%" mark)
  string(HEX "${VELMORA_HOME_DOMAIN}" domain)
  # Whole bytes only: a match that begins at half a byte can't occur for printable text in UTF-8.
  string(REPLACE "${mark}" "${domain}" text "${text}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${text}")
  file(CONFIGURE OUTPUT ${folder}/${target}.h CONTENT
"#pragma once
#include <string_view>
namespace velmora::resources {
std::string_view ${name}();
}
")
  file(CONFIGURE OUTPUT ${folder}/${target}.cpp CONTENT
"#include \"${target}.h\"
namespace velmora::resources {
static constexpr unsigned char kBytes[] = {${bytes}0};
std::string_view ${name}() {
  return {reinterpret_cast<const char*>(kBytes), sizeof kBytes - 1};
}
}
")
  add_library(${target} STATIC ${folder}/${target}.cpp)
  target_include_directories(${target} PUBLIC ${folder})
endfunction()
