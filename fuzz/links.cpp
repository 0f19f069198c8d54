#include <algorithm>
#include <string>
#include <vector>

#include "Require.h"
#include "platform/linux/LinkProtocol.h"

// The text as one message; and as a stream, which gives the same messages however it is cut.
void velmora::fuzz::examine(std::string_view text) {
  const auto messages = [text](size_t piece) {
    LinkFrames frames;
    std::vector<std::string> out;
    for (size_t at = 0; at < text.size() && !frames.isOverlong(); at += piece) {
      frames.append(text.substr(at, piece));
      while (const auto message = frames.next()) out.emplace_back(*message);
    }
    return out;
  };
  decodeLinkMessage(text);
  const auto whole = messages(std::max<size_t>(1, text.size()));
  for (const size_t piece : {1, 7}) require(messages(piece) == whole);
  for (const auto& message : whole) decodeLinkMessage(message);
}
