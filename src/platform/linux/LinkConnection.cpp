#include "platform/linux/LinkConnection.h"

#include <utility>

namespace velmora {
namespace {

constexpr size_t kReceiveBytes = 64u << 10;

}  // namespace

LinkConnection::LinkConnection(std::shared_ptr<Connection> stream, Log& log, Handlers handlers)
    : stream_(std::move(stream)), log_(log), handlers_(std::move(handlers)) {}

void LinkConnection::start() {
  receive();
}

void LinkConnection::receive() {
  stream_->receive(kReceiveBytes, [weak = weak_from_this()](std::optional<std::string> bytes) {
    const auto self = weak.lock();
    if (!self || !self->stream_) return;
    if (bytes) self->take(*bytes);
    if (!self->stream_) return;  // a handler ended it
    if (bytes && !self->frames_.isOverlong()) return self->receive();
    if (bytes) self->log_.notice("A browser's message was too long; its link is closed.");
    const auto lost = self->handlers_.lost;
    self->cancel();
    lost();
  });
}

void LinkConnection::take(std::string_view bytes) {
  frames_.append(bytes);
  while (stream_) {
    const auto message = frames_.next();
    if (!message) return;
    const auto handler = handlers_.message;
    handler(decodeLinkMessage(*message));
  }
}

bool LinkConnection::send(std::string_view frame) {
  if (!stream_) return false;
  if (waiting() + frame.size() > kMostQueuedBytes) {
    log_.notice("A browser does not read what it is told; its link is closed.");
    cancel();
    return false;
  }
  queued_ += frame;
  if (inFlight_ == 0) sendQueued();
  return true;
}

void LinkConnection::sendQueued() {
  inFlight_ = queued_.size();
  stream_->send(std::exchange(queued_, {}), [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self || !self->stream_) return;
    self->inFlight_ = 0;
    if (!self->queued_.empty()) return self->sendQueued();
    const auto drained = self->handlers_.drained;
    drained();
  });
}

void LinkConnection::cancel() {
  if (const auto stream = std::exchange(stream_, nullptr)) stream->cancel();
  handlers_ = {};
}

}  // namespace velmora
