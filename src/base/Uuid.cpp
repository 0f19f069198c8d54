#include "base/Uuid.h"

namespace velmora {
namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool dashBefore(size_t byte) { return byte == 4 || byte == 6 || byte == 8 || byte == 10; }

}  // namespace

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  std::array<uint8_t, 16> bytes;
  size_t at = 0;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (dashBefore(i) && text[at++] != '-') return std::nullopt;
    const int high = hexValue(text[at]);
    const int low = hexValue(text[at + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes[i] = static_cast<uint8_t>(high * 16 + low);
    at += 2;
  }
  return Uuid(bytes);
}

std::string Uuid::text() const {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(36);
  for (size_t i = 0; i < bytes_.size(); ++i) {
    if (dashBefore(i)) out += '-';
    out += kDigits[bytes_[i] >> 4];
    out += kDigits[bytes_[i] & 15];
  }
  return out;
}

}  // namespace velmora
