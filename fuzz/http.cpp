#include "Require.h"
#include "blocking/BlockPageServer.h"

// Whatever is asked gets one of two answers, and nothing of the request is in them.
void velmora::fuzz::examine(std::string_view request) {
  static const std::string page = BlockPageServer::response("GET / HTTP/1.1", "<html></html>");
  static const std::string icon = BlockPageServer::response("GET /favicon.ico", "<html></html>");
  const std::string answer = BlockPageServer::response(request, "<html></html>");
  require(answer == page || answer == icon);
}
