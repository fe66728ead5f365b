#include "tools/tnk/plot/png.h"
#include "tools/tnk/support/failure.h"
#include <png.h>

namespace tnk::tool {

std::string png(std::size_t width, const std::vector<Rgb> &pixels) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(pixels.size() / width);
  image.format = PNG_FORMAT_RGB;
  png_alloc_size_t size = 0;
  std::string bytes;
  if (png_image_write_get_memory_size(image, size, 0, pixels.data(), 0, nullptr)) {
    bytes.resize(size);
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr)) {
      bytes.resize(size);
      return bytes;
    }
  }
  throw Failure(std::string("a picture could not be made: ") + image.message);
}

std::string base64(const std::string &bytes) {
  constexpr const char *digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = i; k < i + 3; ++k)
      group = group << 8 | (k < bytes.size() ? static_cast<unsigned char>(bytes[k]) : 0);
    // One digit more than there are bytes; the rest is filled up.
    for (std::size_t k = 0; k < 4; ++k)
      text += k <= bytes.size() - i ? digits[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

} // namespace tnk::tool
