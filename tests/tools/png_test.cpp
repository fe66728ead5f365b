// Pictures of pixels and their way into a document.
#include "tools/tnk/plot/png.h"
#include <gtest/gtest.h>
#include <png.h>

namespace {

using namespace tnk::tool;

// The examples of RFC 4648.
TEST(Base64, FillsUpTheLastGroup) {
  const char *const pairs[][2] = {{"", ""},
                                  {"f", "Zg=="},
                                  {"fo", "Zm8="},
                                  {"foo", "Zm9v"},
                                  {"foob", "Zm9vYg=="},
                                  {"fooba", "Zm9vYmE="},
                                  {"foobar", "Zm9vYmFy"}};
  for (const auto &pair : pairs) EXPECT_EQ(base64(pair[0]), pair[1]);
  EXPECT_EQ(base64("\xFB\xEF\xBE"), "++++");
}

TEST(Png, HoldsThePixelsRowByRow) {
  const std::string file = png(2, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}, {255, 0, 128}, {0, 0, 0}});
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_memory(&image, file.data(), file.size()));
  EXPECT_TRUE(image.width == 2 && image.height == 3);
  image.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> bytes(18);
  ASSERT_TRUE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr));
  EXPECT_EQ(bytes, (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 255, 0, 128, 0, 0, 0}));
}

} // namespace
