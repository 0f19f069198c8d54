#include <algorithm>
#include <string>
#include <vector>

#include "Require.h"
#include "platform/linux/LinkProtocol.h"

using namespace velmora;

namespace {

std::vector<std::string> messages(std::string_view stream, size_t piece) {
  LinkFrames frames;
  std::vector<std::string> out;
  for (size_t at = 0; at < stream.size() && !frames.isOverlong(); at += piece) {
    frames.append(stream.substr(at, piece));
    while (const auto message = frames.next()) out.emplace_back(*message);
  }
  return out;
}

}  // namespace

// The text as one message; and as a stream, which gives the same messages however it is cut.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto text = fuzz::text(data, size);
  decodeLinkMessage(text);
  const auto whole = messages(text, std::max<size_t>(1, size));
  for (const size_t piece : {size_t{1}, size_t{7}})
    fuzz::require(messages(text, piece) == whole);
  for (const auto& message : whole) decodeLinkMessage(message);
  return 0;
}
