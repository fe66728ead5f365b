// Pictures of pixels as PNG.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tnk::tool {

struct Rgb {
  std::uint8_t red, green, blue;
};

// The file's bytes: rows from top to bottom, `width` pixels each. Throws Failure when it cannot be made.
std::string png(std::size_t width, const std::vector<Rgb> &pixels);

// Bytes as text (RFC 4648), for pictures inside of documents.
std::string base64(const std::string &bytes);

} // namespace tnk::tool
