#include "Require.h"
#include "blocking/BlockPageServer.h"

using namespace velmora;

// Whatever is asked gets one of two answers, and nothing of the request is in them.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string page = BlockPageServer::response("GET / HTTP/1.1", "<html></html>");
  static const std::string icon = BlockPageServer::response("GET /favicon.ico", "<html></html>");
  const std::string answer = BlockPageServer::response(fuzz::text(data, size), "<html></html>");
  fuzz::require(answer == page || answer == icon);
  return 0;
}
