// Text built in a fixed buffer: no allocation, so that it also works when memory is short.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace tnk::host {

// Appends to a buffer that always holds NUL-terminated text. What does not fit is cut.
class TextWriter {
public:
  TextWriter(char *buffer, std::size_t size) : buffer_(buffer), room_(size - 1) { buffer_[0] = '\0'; }

  TextWriter &add(std::string_view text) {
    const std::size_t count = text.size() < room_ ? text.size() : room_;
    std::memcpy(buffer_, text.data(), count);
    buffer_ += count;
    room_ -= count;
    *buffer_ = '\0';
    return *this;
  }
  TextWriter &add(const char *text) { return add(std::string_view(text)); }
  TextWriter &add(std::int64_t value) { return add_number(value); }
  // The shortest decimal that reads back as the same number, whatever the locale.
  TextWriter &add(double value) { return add_number(value); }

private:
  template <class T> TextWriter &add_number(T value) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return add(std::string_view(digits, static_cast<std::size_t>(end - digits)));
  }

  char *buffer_;
  std::size_t room_;
};

} // namespace tnk::host
