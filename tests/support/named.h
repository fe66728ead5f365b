// Entries of the libraries by their names, the same for every type.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>
#include <tnk/types.h>
#include <type_traits>
#include <vector>

namespace tnk::test {

using Types = testing::Types<float, double, tnk_complex8, tnk_complex16>;

// In a name ? stands for the letter of T: s, d, c or z; # for s, d, cs or zd, of a complex T and real scalars; % for s,
// d, sc or dz, of results that are real. Arguments must have the very types of the entry's;
// what has elements stands for their address.
template <class T, class Result = void> class Named {
public:
  explicit Named(std::string name) {
    constexpr int type = std::is_same_v<T, float>    ? 0
                         : std::is_same_v<T, double> ? 1
                         : sizeof(T) == 8            ? 2
                                                     : 3;
    const char *const letters[][4] = {{"s", "d", "c", "z"}, {"s", "d", "cs", "zd"}, {"s", "d", "sc", "dz"}};
    const std::size_t at = name.find_first_of("?#%");
    if (at != name.npos) name.replace(at, 1, letters[std::string("?#%").find(name[at])][type]);
    address_ = dlsym(RTLD_DEFAULT, name.c_str());
    EXPECT_NE(address_, nullptr) << name;
  }
  template <class... A> Result operator()(A &&...arguments) const { return call(passed(arguments, 0)...); }

private:
  template <class A> static auto passed(A &a, int) -> decltype(a.data()) { return a.data(); }
  template <class A> static std::decay_t<A> passed(A &a, long) { return a; }
  template <class... A> Result call(A... arguments) const {
    return reinterpret_cast<Result (*)(A...)>(address_)(arguments...);
  }
  void *address_;
};

// Calls a routine that takes nothing but addresses, up to 14: what is beyond the end of its list it does not look at.
template <class Result = void> Result call_at(const std::string &name, std::vector<const void *> a) {
  a.resize(14);
  return Named<float, Result>{name}(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10], a[11],
                                    a[12], a[13]);
}

} // namespace tnk::test
