// Discrete Fourier transforms for C++17: the descriptors of tnk/dfti.h as objects. Link with -ltnk.
//
//     tnk::FftSetup setup{{512, 512}};
//     setup.backward_scale = 1.0 / (512 * 512);
//     const tnk::Fft<double> fft(setup);
//     fft.forward(image);                       // std::vector<std::complex<double>> of 512 by 512
//     fft.backward(image);                      // as it was
//
// An object is made once and computes any number of times, in setup.users threads at once. Data are dense, the last
// dimension varying fastest, transforms of a batch one after another. What fails throws tnk::FftError, arrays of a wrong
// size std::invalid_argument.
#ifndef TNK_FFT_HPP
#define TNK_FFT_HPP

#include <complex>
#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <string>
#include <tnk/dfti.h>
#include <type_traits>
#include <utility>
#include <vector>

namespace tnk {

// A status of tnk/dfti.h and what it means.
class FftError : public std::runtime_error {
public:
  explicit FftError(tnk_int status) : std::runtime_error(text(status)), status_(status) {}
  tnk_int status() const noexcept { return status_; }

private:
  static std::string text(tnk_int status) {
    const char *const message = DftiErrorMessage(status);
    return message ? message : "no kernel library";
  }
  tnk_int status_;
};

// Elements one after another, of whatever holds them: an array, std::vector, std::array, a pointer and a number.
template <class T> class FftSpan {
public:
  FftSpan(T *data, std::size_t size) : data_(data), size_(size) {}
  template <class Container,
            class = std::enable_if_t<std::is_convertible_v<
                std::remove_pointer_t<decltype(std::data(std::declval<Container &>()))> (*)[], T (*)[]>>>
  FftSpan(Container &&container) : FftSpan(std::data(container), std::size(container)) {}
  T *data() const { return data_; }
  std::size_t size() const { return size_; }

private:
  T *data_;
  std::size_t size_;
};

struct FftSetup {
  std::vector<tnk_int> lengths;
  tnk_int batch = 1; // transforms in one call
  double forward_scale = 1, backward_scale = 1;
  tnk_int users = 1; // threads that may compute by one object at once
};

namespace fft_detail {

inline void check(tnk_int status) {
  if (status != DftiNoError) throw FftError(status);
}

inline tnk_int product(const std::vector<tnk_int> &lengths) {
  tnk_int result = 1;
  for (const tnk_int length : lengths) result *= length;
  return result;
}

// A descriptor.
class Plan {
public:
  Plan(DftiConfigValue precision, DftiConfigValue domain, const FftSetup &setup) : Plan() {
    const auto rank = static_cast<tnk_int>(setup.lengths.size());
    check(rank == 1 ? DftiCreateDescriptor(&handle_, precision, domain, rank, setup.lengths[0])
                    : DftiCreateDescriptor(&handle_, precision, domain, rank, setup.lengths.data()));
    set(DftiParamNumberOfTransforms, setup.batch);
    set(DftiParamForwardScale, setup.forward_scale);
    set(DftiParamBackwardScale, setup.backward_scale);
    set(DftiParamNumberOfUserThreads, setup.users);
  }
  Plan(Plan &&other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Plan &operator=(Plan &&other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Plan() {
    if (handle_) DftiFreeDescriptor(&handle_);
  }

  template <class Value> void set(DftiParam parameter, Value value) {
    check(DftiSetValue(handle_, parameter, value));
  }
  // Strides of a dense array whose last dimension has another length.
  void set_strides(DftiParam parameter, const std::vector<tnk_int> &lengths, tnk_int last) {
    std::vector<tnk_int> strides(lengths.size() + 1);
    tnk_int stride = 1;
    for (std::size_t i = lengths.size(); i > 0; --i) {
      strides[i] = stride;
      stride *= i == lengths.size() ? last : lengths[i - 1];
    }
    set(parameter, strides.data());
  }
  void commit() { check(DftiCommitDescriptor(handle_)); }
  template <class... Arrays> void forward(Arrays *...arrays) const {
    check(DftiComputeForward(handle_, arrays...));
  }
  template <class... Arrays> void backward(Arrays *...arrays) const {
    check(DftiComputeBackward(handle_, arrays...));
  }

private:
  Plan() = default; // a plan from here on, so what throws while it is set up destroys it
  DftiHandle handle_ = nullptr;
};

template <class Real> constexpr DftiConfigValue precision_of = sizeof(Real) == 4 ? DftiSingle : DftiDouble;

// Sources are not written, though the descriptors take them by addresses of what may be.
template <class T> void *source(FftSpan<const T> span) {
  return const_cast<T *>(span.data());
}

inline void expect(std::size_t found, tnk_int expected) {
  if (found != static_cast<std::size_t>(expected))
    throw std::invalid_argument("tnk::Fft: an array of " + std::to_string(found) + " elements instead of " +
                                std::to_string(expected));
}

} // namespace fft_detail

// Complex transforms, in place.
template <class Real> class Fft {
  static_assert(std::is_same_v<Real, float> || std::is_same_v<Real, double>);
  using Complex = std::complex<Real>;

public:
  explicit Fft(const FftSetup &setup)
      : plan_(fft_detail::precision_of<Real>, DftiComplex, setup),
        size_(fft_detail::product(setup.lengths) * setup.batch) {
    plan_.set(DftiParamInputDistance, fft_detail::product(setup.lengths));
    plan_.commit();
  }
  // Numbers in all transforms of a batch.
  tnk_int size() const { return size_; }
  void forward(FftSpan<Complex> data) const {
    fft_detail::expect(data.size(), size_);
    plan_.forward(data.data());
  }
  void backward(FftSpan<Complex> data) const {
    fft_detail::expect(data.size(), size_);
    plan_.backward(data.data());
  }

private:
  fft_detail::Plan plan_;
  tnk_int size_;
};

// Transforms between real numbers and half of their spectrum, lengths.back() / 2 + 1 complex numbers along the last
// dimension.
template <class Real> class RealFft {
  static_assert(std::is_same_v<Real, float> || std::is_same_v<Real, double>);
  using Complex = std::complex<Real>;
  using Plan = fft_detail::Plan;

public:
  explicit RealFft(const FftSetup &setup)
      : forward_(fft_detail::precision_of<Real>, DftiReal, setup),
        backward_(fft_detail::precision_of<Real>, DftiReal, setup) {
    const std::vector<tnk_int> &lengths = setup.lengths;
    const tnk_int last = lengths.back(), half = last / 2 + 1;
    const tnk_int reals = fft_detail::product(lengths), frequencies = reals / last * half;
    size_ = reals * setup.batch, spectrum_size_ = frequencies * setup.batch;
    for (Plan *const plan : {&forward_, &backward_}) {
      const bool is_forward = plan == &forward_;
      plan->set(DftiParamPlacement, DftiNotInPlace);
      plan->set(DftiParamConjugateEvenStorage, DftiComplexComplex);
      plan->set_strides(is_forward ? DftiParamInputStrides : DftiParamOutputStrides, lengths, last);
      plan->set_strides(is_forward ? DftiParamOutputStrides : DftiParamInputStrides, lengths, half);
      plan->set(is_forward ? DftiParamInputDistance : DftiParamOutputDistance, reals);
      plan->set(is_forward ? DftiParamOutputDistance : DftiParamInputDistance, frequencies);
      plan->commit();
    }
  }
  tnk_int size() const { return size_; }                   // real numbers
  tnk_int spectrum_size() const { return spectrum_size_; } // complex numbers
  void forward(FftSpan<const Real> from, FftSpan<Complex> spectrum) const {
    check(from.size(), spectrum.size());
    forward_.forward(fft_detail::source(from), spectrum.data());
  }
  void backward(FftSpan<const Complex> spectrum, FftSpan<Real> to) const {
    check(to.size(), spectrum.size());
    backward_.backward(fft_detail::source(spectrum), to.data());
  }

private:
  void check(std::size_t reals, std::size_t frequencies) const {
    fft_detail::expect(reals, size_);
    fft_detail::expect(frequencies, spectrum_size_);
  }
  Plan forward_, backward_;
  tnk_int size_ = 0, spectrum_size_ = 0;
};

} // namespace tnk

#endif
