#include "platform/linux/X11Clipboard.h"

#include <poll.h>
#include <sys/epoll.h>

#include <array>
#include <chrono>
#include <functional>
#include <utility>

#include "platform/linux/EventLoop.h"
#include "platform/linux/X11Connection.h"

namespace velmora {
namespace {

using Deadline = X11Connection::Clock::time_point;

constexpr std::chrono::milliseconds kPatience{500};
constexpr uint32_t kAllWords = Clipboard::kLongest / 4 + 1;
constexpr size_t kRequestHead = 64;  // bytes of a request that are not its data, and some more

enum Name { clipboard, targets, timestamp, incr, transfer, nameCount };
constexpr std::array<std::string_view, nameCount> kNames{"CLIPBOARD", "TARGETS", "TIMESTAMP",
                                                         "INCR", "VELMORA_TRANSFER"};

Deadline soon() {
  return X11Connection::Clock::now() + kPatience;
}

}  // namespace

class X11Clipboard::Impl {
 public:
  Impl(EventLoop& loop, std::string display) : loop_(loop), display_(std::move(display)) {}

  void write(std::string_view type, std::string data) {
    content_ = Content{std::string(type), std::move(data), XCB_ATOM_NONE};
    const Deadline deadline = soon();
    if (!connect(deadline)) return;
    const auto atom = intern(type, deadline);
    const auto time = serverTime(deadline);
    if (atom && time) {
      content_->atom = *atom;
      content_->since = *time;
      xcb_set_selection_owner(raw(), window_, names_[clipboard], *time);
    }
    finish();
  }

  std::optional<std::string> read(std::string_view type) {
    const Deadline deadline = soon();
    if (!connect(deadline)) return own(type);
    const auto question = connection_->ask(xcb_get_selection_owner(raw(), names_[clipboard]));
    const auto wanted = intern(type, deadline);
    const auto reply = connection_->take<xcb_get_selection_owner_reply>(question);
    const xcb_window_t owner = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
    std::optional<std::string> data;
    if (owner == window_)
      data = own(type);
    else if (wanted && owner != XCB_WINDOW_NONE)
      data = convert(*wanted, deadline);
    finish();
    return data;
  }

 private:
  struct Content {
    std::string type;
    std::string data;
    xcb_atom_t atom = XCB_ATOM_NONE;  // of the type
    xcb_timestamp_t since = XCB_CURRENT_TIME;
  };

  xcb_connection_t* raw() const { return connection_->raw(); }

  std::optional<std::string> own(std::string_view type) const {
    if (!content_ || content_->type != type) return {};
    return content_->data;
  }

  // --- the connection ---

  bool connect(Deadline deadline) {
    if (connection_) connection_->pollEvents();
    dropIfBroken();
    if (connection_) return !connection_->isBehind();
    connection_ =
        X11Connection::open(display_, [this](const xcb_generic_event_t& e) { onEvent(e); });
    if (!connection_) return false;
    window_ = xcb_generate_id(raw());
    const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(raw(), 0, window_, connection_->root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    for (size_t i = 0; i < nameCount; ++i) {
      const auto atom = intern(kNames[i], deadline);
      if (!atom) return connection_.reset(), false;
      names_[i] = *atom;
    }
    watch_ = loop_.watch(connection_->descriptor(), EPOLLIN, [this](uint32_t) { finish(); });
    return true;
  }

  // Sends what is due, and sees what came with the answers: nothing else would wake us for it.
  void finish() {
    connection_->pollEvents();
    xcb_flush(raw());
    dropIfBroken();
  }

  void dropIfBroken() {
    if (!connection_ || !connection_->isBroken()) return;
    watch_.reset();
    connection_.reset();
  }

  std::optional<xcb_atom_t> intern(std::string_view name, Deadline deadline) {
    const auto question = connection_->ask(
        xcb_intern_atom(raw(), false, static_cast<uint16_t>(name.size()), name.data()));
    if (!connection_->await(deadline)) return {};
    const auto reply = connection_->take<xcb_intern_atom_reply>(question);
    return reply ? std::optional(reply->atom) : std::nullopt;
  }

  bool waitFor(const std::function<bool()>& holds, Deadline deadline) {
    xcb_flush(raw());
    for (;;) {
      connection_->pollEvents();
      if (holds()) return true;
      if (connection_->isBroken()) return false;
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - X11Connection::Clock::now());
      pollfd socket{connection_->descriptor(), POLLIN, 0};
      if (left.count() <= 0 || poll(&socket, 1, static_cast<int>(left.count())) == 0) return false;
    }
  }

  // The server dates a change of our property, which is how a client learns its time.
  std::optional<xcb_timestamp_t> serverTime(Deadline deadline) {
    time_.reset();
    xcb_change_property(raw(), XCB_PROP_MODE_APPEND, window_, names_[timestamp], XCB_ATOM_INTEGER,
                        32, 0, nullptr);
    waitFor([this] { return time_.has_value(); }, deadline);
    return time_;
  }

  // --- reading from another owner ---

  std::optional<std::string> convert(xcb_atom_t type, Deadline deadline) {
    const auto time = serverTime(deadline);
    if (!time) return {};
    answer_.reset();
    xcb_delete_property(raw(), window_, names_[transfer]);
    xcb_convert_selection(raw(), window_, names_[clipboard], type, names_[transfer], *time);
    const auto isAnswered = [&] { return answer_ && answer_->time == *time; };
    if (!waitFor(isAnswered, deadline) || answer_->property == XCB_ATOM_NONE) return {};
    hasPiece_ = false;
    auto piece = takePiece(deadline);
    if (!piece) return {};
    if (piece->type != names_[incr]) return isWhole(*piece, type) ? piece->data : std::nullopt;
    std::string data;
    for (;;) {
      if (!waitFor([this] { return hasPiece_; }, deadline)) return {};
      hasPiece_ = false;
      piece = takePiece(deadline);
      if (!piece || !isWhole(*piece, type)) return {};
      if (piece->data->empty()) return data;
      data += *piece->data;
      if (data.size() > kLongest) return {};
    }
  }

  struct Piece {
    xcb_atom_t type = XCB_ATOM_NONE;
    uint8_t format = 0;
    bool isCutOff = false;
    std::optional<std::string> data;
  };
  static bool isWhole(const Piece& piece, xcb_atom_t type) {
    return piece.type == type && piece.format == 8 && !piece.isCutOff &&
           piece.data->size() <= kLongest;
  }

  // Taking a piece away asks its owner for the next.
  std::optional<Piece> takePiece(Deadline deadline) {
    const auto question = connection_->ask(xcb_get_property(
        raw(), true, window_, names_[transfer], XCB_GET_PROPERTY_TYPE_ANY, 0, kAllWords));
    if (!connection_->await(deadline)) return {};
    const auto reply = connection_->take<xcb_get_property_reply>(question);
    if (!reply) return {};
    const auto* bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
    const auto size = static_cast<size_t>(xcb_get_property_value_length(reply.get()));
    return Piece{reply->type, reply->format, reply->bytes_after != 0, std::string(bytes, size)};
  }

  // --- serving others ---

  void onEvent(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7F) {
      case XCB_PROPERTY_NOTIFY: {
        const auto& e = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (e.atom == names_[timestamp]) time_ = e.time;
        if (e.atom == names_[transfer] && e.state == XCB_PROPERTY_NEW_VALUE) hasPiece_ = true;
        break;
      }
      case XCB_SELECTION_NOTIFY:
        answer_ = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
        break;
      case XCB_SELECTION_CLEAR:
        content_.reset();
        break;
      case XCB_SELECTION_REQUEST:
        serve(reinterpret_cast<const xcb_selection_request_event_t&>(event));
        break;
      default:
        break;
    }
  }

  void serve(const xcb_selection_request_event_t& request) {
    xcb_selection_notify_event_t reply{};
    reply.response_type = XCB_SELECTION_NOTIFY;
    reply.time = request.time;
    reply.requestor = request.requestor;
    reply.selection = request.selection;
    reply.target = request.target;
    // Old clients leave the place to us.
    reply.property = request.property == XCB_ATOM_NONE ? request.target : request.property;
    if (!content_ || !provide(request.requestor, reply.property, request.target))
      reply.property = XCB_ATOM_NONE;
    xcb_send_event(raw(), false, request.requestor, 0, reinterpret_cast<const char*>(&reply));
  }

  bool provide(xcb_window_t to, xcb_atom_t property, xcb_atom_t target) {
    const auto place = [&](xcb_atom_t type, uint8_t format, size_t count, const void* data) {
      xcb_change_property(raw(), XCB_PROP_MODE_REPLACE, to, property, type, format,
                          static_cast<uint32_t>(count), data);
      return true;
    };
    if (target == names_[targets]) {
      const std::array all{names_[targets], names_[timestamp], content_->atom};
      return place(XCB_ATOM_ATOM, 32, all.size(), all.data());
    }
    if (target == names_[timestamp]) return place(XCB_ATOM_INTEGER, 32, 1, &content_->since);
    const size_t longest = size_t{xcb_get_maximum_request_length(raw())} * 4 - kRequestHead;
    if (target != content_->atom || content_->data.size() > longest) return false;
    return place(content_->atom, 8, content_->data.size(), content_->data.data());
  }

  EventLoop& loop_;
  const std::string display_;
  std::optional<Content> content_;  // while we own the selection, or there is no server
  std::array<xcb_atom_t, nameCount> names_{};
  xcb_window_t window_ = XCB_WINDOW_NONE;
  std::optional<xcb_timestamp_t> time_;
  std::optional<xcb_selection_notify_event_t> answer_;
  bool hasPiece_ = false;
  std::unique_ptr<X11Connection> connection_;
  Subscription watch_;
};

X11Clipboard::X11Clipboard(EventLoop& loop, std::string display)
    : impl_(std::make_unique<Impl>(loop, std::move(display))) {}
X11Clipboard::~X11Clipboard() = default;

void X11Clipboard::write(std::string_view type, std::string data) {
  impl_->write(type, std::move(data));
}
std::optional<std::string> X11Clipboard::read(std::string_view type) {
  return impl_->read(type);
}

}  // namespace velmora
