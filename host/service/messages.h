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
    // Solvers of Poisson's equation: the frame of their messages, then each in three lines, with entries counted from 1
    // and from 0.
    {488, "Solvers of Poisson's and Helmholtz' equation:"},
    {489, "Entries and statuses are told in tnk/pde_poisson.h."},
    {490, "Messages are silenced, or sent to a log file, by the second and third entry of ipar."},
    {500, "The grid needs 1 or more cells along x."},
    {501, "Their number is nx, kept in ipar(11)."},
    {502, "Call the routine that begins a problem with a positive nx. Found:"},
    {503, "The grid needs 1 or more cells along y."},
    {504, "Their number is ny, kept in ipar(12)."},
    {505, "Call the routine that begins a problem with a positive ny. Found:"},
    {506, "The sides of the grid, or their code, are not right."},
    {507,
     "Each side is 0 or 1, from ipar(5) on, and the code in ipar(4) has them as its bits, ax the highest."},
    {508, "Give each side by a letter D or N, and leave the entries to the routine that begins a problem. "
          "Code found:"},
    {509, "The grid has no extent along x."},
    {510, "It is bx - ax, kept in dpar(1), and must be positive."},
    {511, "Give ax and bx in ascending order. Found:"},
    {512, "The grid has no extent along y."},
    {513, "It is by - ay, kept in dpar(2), and must be positive."},
    {514, "Give ay and by in ascending order. Found:"},
    {515, "The spectrum cannot be computed."},
    {516, "A number of cells, or a step of the grid, is 0."},
    {517, "A commit that skips its checks needs the steps of an earlier one."},
    {518, "The problem is not in a state to go on from."},
    {519, "It is kept in ipar(1): an earlier call failed, or it is none that commit knows."},
    {520, "Begin the problem anew, or set the entry as the call allows. Found:"},
    {521, "A Fourier transform could not be freed."},
    {522, "Its handle is not that of a transform, or was freed before."},
    {523, "Free each handle once, with the entries that it was made with."},
    {524, "The grid needs 1 or more cells along z."},
    {525, "Their number is nz, kept in ipar(13)."},
    {526, "Call the routine that begins a problem with a positive nz. Found:"},
    {527, "The grid has no extent along z."},
    {528, "It is bz - az, kept in dpar(3), and must be positive."},
    {529, "Give az and bz in ascending order. Found:"},
    {530, "Warning: the problem is singular, with slopes on all sides and q of 0."},
    {531, "It has solutions for balanced right-hand sides only; a constant was taken off to balance this "
          "one, and the solution without a mean was computed."},
    {532, "If the constant is not as small as rounding explains, the problem as given has no solution. Taken "
          "off:"},
    {533, "Warning: the layout of the entries is not the one that commit made."},
    {534, "First and last places of spectra and tables stand in ipar(14) to ipar(21)."},
    {535, "Leave them as they are; the equations were solved with what stands there. First one found:"},
    {536, "Warning: q is negative."},
    {537, "It is kept in dpar(4). The equations may be singular, or nearly so, which is not found out."},
    {538, "Look at the size of the solution before it is used. Found:"},
    {539, "The grid needs 1 or more cells along x."},
    {540, "Their number is nx, kept in ipar[10]."},
    {541, "Call the routine that begins a problem with a positive nx. Found:"},
    {542, "The grid needs 1 or more cells along y."},
    {543, "Their number is ny, kept in ipar[11]."},
    {544, "Call the routine that begins a problem with a positive ny. Found:"},
    {545, "The sides of the grid, or their code, are not right."},
    {546,
     "Each side is 0 or 1, from ipar[4] on, and the code in ipar[3] has them as its bits, ax the highest."},
    {547, "Give each side by a letter D or N, and leave the entries to the routine that begins a problem. "
          "Code found:"},
    {548, "The grid has no extent along x."},
    {549, "It is bx - ax, kept in dpar[0], and must be positive."},
    {550, "Give ax and bx in ascending order. Found:"},
    {551, "The grid has no extent along y."},
    {552, "It is by - ay, kept in dpar[1], and must be positive."},
    {553, "Give ay and by in ascending order. Found:"},
    {554, "The spectrum cannot be computed."},
    {555, "A number of cells, or a step of the grid, is 0."},
    {556, "A commit that skips its checks needs the steps of an earlier one."},
    {557, "The problem is not in a state to go on from."},
    {558, "It is kept in ipar[0]: an earlier call failed, or it is none that commit knows."},
    {559, "Begin the problem anew, or set the entry as the call allows. Found:"},
    {560, "A Fourier transform could not be freed."},
    {561, "Its handle is not that of a transform, or was freed before."},
    {562, "Free each handle once, with the entries that it was made with."},
    {563, "The grid needs 1 or more cells along z."},
    {564, "Their number is nz, kept in ipar[12]."},
    {565, "Call the routine that begins a problem with a positive nz. Found:"},
    {566, "The grid has no extent along z."},
    {567, "It is bz - az, kept in dpar[2], and must be positive."},
    {568, "Give az and bz in ascending order. Found:"},
    {569, "Warning: the problem is singular, with slopes on all sides and q of 0."},
    {570, "It has solutions for balanced right-hand sides only; a constant was taken off to balance this "
          "one, and the solution without a mean was computed."},
    {571, "If the constant is not as small as rounding explains, the problem as given has no solution. Taken "
          "off:"},
    {572, "Warning: the layout of the entries is not the one that commit made."},
    {573, "First and last places of spectra and tables stand in ipar[13] to ipar[20]."},
    {574, "Leave them as they are; the equations were solved with what stands there. First one found:"},
    {575, "Warning: q is negative."},
    {576, "It is kept in dpar[3]. The equations may be singular, or nearly so, which is not found out."},
    {577, "Look at the size of the solution before it is used. Found:"},
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
