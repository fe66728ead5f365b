// The calls under way, as an unwinder sees them.
#pragma once

#include <dlfcn.h>
#include <string>
#include <unwind.h>
#include <vector>

namespace tnk::test {

struct Frame {
  std::string function, file; // a function that is not exported has no name
};

// Innermost first.
[[gnu::noinline]] inline std::vector<Frame> trace() {
  std::vector<Frame> frames;
  _Unwind_Backtrace(
      [](_Unwind_Context *context, void *data) {
        // A return address may stand behind the end of its function.
        void *const place = reinterpret_cast<void *>(_Unwind_GetIP(context) - 1);
        Dl_info info;
        if (!dladdr(place, &info)) return _URC_END_OF_STACK;
        static_cast<std::vector<Frame> *>(data)->push_back(
            {info.dli_sname ? info.dli_sname : "", info.dli_fname ? info.dli_fname : ""});
        return _URC_NO_REASON;
      },
      &frames);
  return frames;
}

} // namespace tnk::test
