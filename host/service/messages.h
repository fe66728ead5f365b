// The message catalog: every text that the libraries show by number, and the formatter that fills it in.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/service/text.h"

namespace tnk::host {

// {s} stands for an address of NUL-terminated text, {d} for an int64_t, {f} for a double; one argument each,
// in this order. No other brace may occur in a text.
struct Message {
  std::int32_t number;
  std::string_view text;
};

// The numbers of the host's own messages. Those that kernels pass are fixed where they are passed.
enum MessageNumber : std::int32_t {
  message_bad_argument = 1,
  message_no_memory = 2,
  message_kernel_refused = 3,
  message_entry_missing = 4,
  message_file_missing = 11,
  message_file_unloadable = 12,
  message_file_foreign = 13,
  message_other_class = 14,
  message_no_avx = 15,
  message_avx_not_saved = 16,
};

// Ascending by number.
constexpr Message catalog[] = {
    {message_bad_argument, "{s}: argument {d} ({s}) is {s}, expected {s}"},
    {message_no_memory, "{s}: no memory for a work array"},
    {message_kernel_refused, "{s}: {s}"},
    {message_entry_missing, "{s}: the kernel library {s} has no entry {s}"},
    {message_file_missing, "kernel library {s} not found{s}"},
    {message_file_unloadable, "kernel library {s} cannot be loaded: {s}"},
    {message_file_foreign, "{s} is not a kernel library: it has no dll_cpu_version"},
    {message_other_class,
     "kernel library {s} is for processor class {d} ({s}), this processor is of class {d} ({s})"},
    {message_no_avx, "this processor has no AVX, and there is no kernel library for it"},
    {message_avx_not_saved, "this processor has AVX, but the operating system does not save its registers"},
    // Statuses of Fourier transforms, from 0, and any other.
    {761, "no error"},
    {762, "no memory"},
    {763, "bad arguments of a creation, or a transform before the commit"},
    {764, "a parameter, value or number of arrays that is not valid for this descriptor"},
    {765, "a failure in the threading layer"},
    {766, "no descriptor"},
    {767, "a parameter or value that is reserved and not implemented"},
    {768, "internal error, or no kernel library"},
    {769, "more threads in one descriptor than its number of user threads"},
    {770, "a length beyond what can be transformed"},
    {771, "an unknown status, or 100: no method takes the configuration, or there is no memory for it"},
};

constexpr bool is_placeholder(std::string_view text, std::size_t at) {
  return at + 2 < text.size() && text[at] == '{' && text[at + 2] == '}' &&
         (text[at + 1] == 's' || text[at + 1] == 'd' || text[at + 1] == 'f');
}

// Messages from this number on are printed and logged by kernels, as formats: they must not have a percent sign.
constexpr std::int32_t first_format = 396;

constexpr bool is_well_formed(std::string_view text, bool is_format = false) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (is_format && text[i] == '%') return false;
    if (is_placeholder(text, i))
      i += 2;
    else if (text[i] == '{' || text[i] == '}')
      return false;
  }
  return true;
}

constexpr bool is_well_formed(const Message *messages, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (!is_well_formed(messages[i].text, messages[i].number >= first_format)) return false;
    if (i > 0 && messages[i].number <= messages[i - 1].number) return false;
  }
  return true;
}
static_assert(is_well_formed(catalog, sizeof catalog / sizeof *catalog));

// The text with its placeholders filled from `count` arguments. One that is missing or a null address shows
// as "?".
inline void format(TextWriter &out, std::string_view text, std::int32_t count, std::va_list arguments) {
  std::size_t written = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!is_placeholder(text, i)) continue;
    out.add(text.substr(written, i - written));
    if (count-- <= 0) {
      out.add("?");
    } else if (text[i + 1] == 's') {
      const char *value = va_arg(arguments, const char *);
      out.add(value ? value : "?");
    } else if (text[i + 1] == 'd') {
      out.add(static_cast<std::int64_t>(va_arg(arguments, std::int64_t)));
    } else {
      out.add(va_arg(arguments, double));
    }
    i += 2;
    written = i + 1;
  }
  out.add(text.substr(written));
}

void write_message(char *buffer, std::size_t size, std::int32_t number, std::int32_t count, ...);

inline const char *message_argument(const char *text) {
  return text;
}
inline std::int64_t message_argument(std::int64_t value) {
  return value;
}

// The catalog message in `buffer`, for callers inside the host: each argument has its catalog type.
template <std::size_t size, class... Arguments>
void write_message(char (&buffer)[size], MessageNumber number, Arguments... arguments) {
  write_message(buffer, size, static_cast<std::int32_t>(number),
                static_cast<std::int32_t>(sizeof...(arguments)), message_argument(arguments)...);
}

} // namespace tnk::host
