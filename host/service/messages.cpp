// Messages by number, and the version text.
#include "host/service/messages.h"

#include <cstdio>
#include <tnk/services.h>

#include "host/service/errno_keeper.h"
#include "host/service/poisson_messages.h"
#include "host/service/trig_messages.h"

namespace tnk::host {
namespace {

void fill(char *buffer, std::size_t size, std::int32_t number, std::int32_t count, std::va_list arguments) {
  TextWriter out(buffer, size);
  const auto found = [&](const auto &messages) {
    for (const Message &message : messages)
      if (message.number == number) return format(out, message.text, count, arguments), true;
    return false;
  };
  if (found(catalog) || found(trig_catalog) || found(poisson_catalog)) return;
  out.add("message ").add(std::int64_t{number}).add(" is not in the catalog");
}

// The kernels append a message to a buffer with this bound.
constexpr std::size_t message_size = 512;

} // namespace

void write_message(char *buffer, std::size_t size, std::int32_t number, std::int32_t count, ...) {
  std::va_list arguments;
  va_start(arguments, count);
  fill(buffer, size, number, count, arguments);
  va_end(arguments);
}

} // namespace tnk::host

const char *tnk_serv_tnk_get_msg(int32_t number, int32_t count, ...) {
  thread_local char text[tnk::host::message_size];
  std::va_list arguments;
  va_start(arguments, count);
  tnk::host::fill(text, sizeof text, number, count, arguments);
  va_end(arguments);
  return text;
}

void tnk_serv_tnk_print(int32_t, int32_t number, int32_t count, ...) {
  const tnk::host::ErrnoKeeper keeper;
  char text[tnk::host::message_size]; // its own: a text fetched before stays as it is
  std::va_list arguments;
  va_start(arguments, count);
  tnk::host::fill(text, sizeof text, number, count, arguments);
  va_end(arguments);
  std::printf("%s\n", text);
}

void tnk_serv_getversionstring_c(char *buffer, int32_t length) {
  if (length <= 0) return;
  tnk::host::TextWriter(buffer, static_cast<std::size_t>(length))
      .add("tnk " TNK_VERSION ", numerical kernels for AVX processors");
}
