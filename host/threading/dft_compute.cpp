// Fourier transforms on several threads: a batch is cut, or the rows and then the columns of one transform. Each slice
// calls a driver of the kernel library with a slice of the node's workspace; there are as many as the node has threads,
// whoever runs them.
//
// A pass over some of a transform's dimensions is a batch of smaller transforms: by copies of the nodes, with other strides.
#include <tnk/dft_compute.h>
#include <tnk/services.h>

#include "host/dispatch/kernel_loader.h"
#include "host/threading/dft_slices.h"

namespace tnk::host {
namespace {

// A driver, and the bytes of an element that it reads and of one that it writes.
struct Driver {
  KernelEntry<DftiDriver> in_place;
  KernelEntry<DftiDriverOut> out_of_place;
  tnk_int read, written;
};
#define TNK_DRIVER(name, read, written)                                                                      \
  Driver name {                                                                                              \
    KernelEntry<DftiDriver>("tnk_dft_x" #name), KernelEntry<DftiDriverOut>("tnk_dft_x" #name "_out"), read,  \
        written                                                                                              \
  }
TNK_DRIVER(cforward, 8, 8);
TNK_DRIVER(cbackward, 8, 8);
TNK_DRIVER(zforward, 16, 16);
TNK_DRIVER(zbackward, 16, 16);
TNK_DRIVER(sforward, 4, 4);
TNK_DRIVER(sbackward, 4, 4);
TNK_DRIVER(dforward, 8, 8);
TNK_DRIVER(dbackward, 8, 8);
TNK_DRIVER(scforward, 4, 8);
TNK_DRIVER(csbackward, 8, 4);
TNK_DRIVER(dzforward, 8, 16);
TNK_DRIVER(zdbackward, 16, 8);
#undef TNK_DRIVER

// Calls a driver; without a destination in place.
tnk_int call(Driver &driver, DftiNode *node, char *source, char *destination, tnk_int count, void *work) {
  constexpr const char *routine = "DftiCompute";
  if (!destination) {
    DftiDriver *const run = driver.in_place.get(routine);
    return run ? run(node, source, count, work) : tnk_int{DftiInternalError};
  }
  DftiDriverOut *const run = driver.out_of_place.get(routine);
  return run ? run(node, source, destination, count, work) : tnk_int{DftiInternalError};
}

// ---- Slices -----------------------------------------------------------------------------------------------------------

// The transforms of a batch.
tnk_int batch(Driver &driver, DftiNode *node, tnk_int count, const DftiNode *owner, char *source,
              char *destination) {
  return in_slices(owner, count, [&](tnk_int begin, tnk_int end, void *work) {
    return call(driver, node, source + begin * node->input_distance * driver.read,
                destination ? destination + begin * node->output_distance * driver.written : nullptr,
                end - begin, work);
  });
}

// ---- One transform -----------------------------------------------------------------------------------------------------

// Copies of a chain of nodes.
struct Chain {
  int rank = 0;
  DftiNode nodes[DftiMaxDimension] = {};

  explicit Chain(const DftiNode *root) {
    for (const DftiNode *d = root; d && rank < root->committed_rank; d = d->next) nodes[rank++] = *d;
    link();
  }
  Chain(const Chain &other) : rank(other.rank) {
    std::copy_n(other.nodes, rank, nodes);
    link();
  }
  Chain &operator=(const Chain &) = delete;

  Chain where_read() const {
    Chain same(*this);
    for (int d = 0; d < rank; ++d) same.nodes[d].axis.output_stride = nodes[d].axis.input_stride;
    return same;
  }
  Chain where_written() const {
    Chain same(*this);
    for (int d = 0; d < rank; ++d) same.nodes[d].axis.input_stride = nodes[d].axis.output_stride;
    return same;
  }
  DftiNode &last() { return nodes[rank - 1]; }

private:
  void link() {
    for (int d = 0; d < rank; ++d) nodes[d].next = d + 1 < rank ? nodes + d + 1 : nullptr;
  }
};

// All dimensions but the last one, a batch along that.
tnk_int all_but_last(Driver &driver, const DftiNode *owner, const Chain &given, char *source,
                     char *destination) {
  Chain chain(given);
  DftiNode &root = chain.nodes[0];
  root.committed_rank = chain.rank - 1;
  root.input_distance = chain.last().axis.input_stride;
  root.output_distance = chain.last().axis.output_stride;
  return batch(driver, &root, chain.last().axis.length, owner, source, destination);
}

// The last dimension, in lines side by side along dimension 0, `count` of them.
tnk_int last_alone(Driver &driver, const DftiNode *owner, const Chain &given, tnk_int count, char *source,
                   char *destination) {
  Chain chain(given);
  DftiNode &line = chain.last();
  line.committed_rank = 1;
  line.input_distance = chain.nodes[0].axis.input_stride;
  line.output_distance = chain.nodes[0].axis.output_stride;
  tnk_int others = 1;
  for (int d = 1; d < chain.rank - 1; ++d) others *= chain.nodes[d].axis.length;
  const auto run = [&](tnk_int index, tnk_int begin, tnk_int end, void *work) {
    tnk_int in = begin * line.input_distance, out = begin * line.output_distance;
    for (int d = 1; d < chain.rank - 1; ++d) {
      const DftiAxis &axis = chain.nodes[d].axis;
      in += index % axis.length * axis.input_stride;
      out += index % axis.length * axis.output_stride;
      index /= axis.length;
    }
    return call(driver, &line, source + in * driver.read,
                destination ? destination + out * driver.written : nullptr, end - begin, work);
  };
  const bool by_others = others >= owner->threads;
  return in_slices(owner, by_others ? others : count, [&](tnk_int begin, tnk_int end, void *work) {
    for (tnk_int k = by_others ? begin : 0; k < (by_others ? end : others); ++k)
      if (const tnk_int status = by_others ? run(k, 0, count, work) : run(k, begin, end, work)) return status;
    return tnk_int{DftiNoError};
  });
}

// ---- Kinds --------------------------------------------------------------------------------------------------------------

tnk_int on_one(Driver &driver, DftiNode *node, char *source, char *destination) {
  return call(driver, node, source, destination, node->number_of_transforms, node->workspace);
}

// Whether what one thread writes in place is what it has read.
bool stays(const Driver &driver, tnk_int in, tnk_int out, const char *destination) {
  return destination || in * driver.read == out * driver.written;
}

tnk_int complex_data(Driver &driver, DftiNode *node, void *first, void *second) {
  char *const source = static_cast<char *>(first), *const destination = static_cast<char *>(second);
  if (node->number_of_transforms > 1)
    return batch(driver, node, node->number_of_transforms, node, source, destination);
  if (node->committed_rank < 2) return on_one(driver, node, source, destination);
  const Chain given(node), chain = destination ? given : given.where_read();
  if (const tnk_int status = all_but_last(driver, node, chain, source, destination)) return status;
  return last_alone(driver, node, chain.where_written(), node->axis.length,
                    destination ? destination : source, nullptr);
}

// Real numbers on both sides: packed columns are not all alike, so one transform is not cut.
tnk_int packed_data(Driver &driver, DftiNode *node, void *first, void *second) {
  char *const source = static_cast<char *>(first), *const destination = static_cast<char *>(second);
  if (node->number_of_transforms < 2 ||
      !stays(driver, node->input_distance, node->output_distance, destination))
    return on_one(driver, node, source, destination);
  return batch(driver, node, node->number_of_transforms, node, source, destination);
}

tnk_int half_forward(Driver &driver, Driver &columns, DftiNode *node, char *source, char *destination) {
  const Chain chain(node);
  if (const tnk_int status = all_but_last(driver, node, chain, source, destination)) return status;
  return last_alone(columns, node, chain.where_written(), node->axis.length / 2 + 1,
                    destination ? destination : source, nullptr);
}

tnk_int half_backward(Driver &driver, Driver &columns, DftiNode *node, char *source, char *destination) {
  const tnk_int frequencies = node->axis.length / 2 + 1;
  Chain chain(node);
  if (!destination) {
    const tnk_int status = last_alone(columns, node, chain.where_read(), frequencies, source, nullptr);
    return status ? status : all_but_last(driver, node, chain, source, nullptr);
  }
  // The source stays, and the destination is too small for the spectrum.
  Chain to_block(chain);
  tnk_int numbers = 1;
  for (int d = 0; d < chain.rank; ++d) {
    chain.nodes[d].axis.input_stride = to_block.nodes[d].axis.output_stride = numbers;
    numbers *= d == 0 ? frequencies : chain.nodes[d].axis.length;
  }
  char *const block = static_cast<char *>(tnk_serv_allocate(numbers * columns.written, 64));
  if (!block) return DftiMemoryError;
  tnk_int status = last_alone(columns, node, to_block, frequencies, source, block);
  if (!status) status = all_but_last(driver, node, chain, block, destination);
  tnk_serv_deallocate(block);
  return status;
}

using Half = tnk_int(Driver &driver, Driver &columns, DftiNode *node, char *source, char *destination);
tnk_int half_data(Half *one, Driver &driver, Driver &columns, DftiNode *node, void *first, void *second) {
  char *const source = static_cast<char *>(first), *const destination = static_cast<char *>(second);
  if (node->number_of_transforms > 1)
    return stays(driver, node->input_distance, node->output_distance, destination)
               ? batch(driver, node, node->number_of_transforms, node, source, destination)
               : on_one(driver, node, source, destination);
  if (node->committed_rank < 2) return on_one(driver, node, source, destination);
  const Chain chain(node);
  const DftiAxis &outer = chain.nodes[chain.rank - 1].axis;
  return stays(driver, outer.input_stride, outer.output_stride, destination)
             ? one(driver, columns, node, source, destination)
             : on_one(driver, node, source, destination);
}

} // namespace
} // namespace tnk::host

using namespace tnk::host;

#define TNK_PARALLEL(direction, kind, compute, ...)                                                          \
  tnk_int tnk_dft_compute_##direction##_##kind##_par(DftiNode **node, void *data) {                          \
    return compute(__VA_ARGS__, *node, data, nullptr);                                                       \
  }                                                                                                          \
  tnk_int tnk_dft_compute_##direction##_##kind##_out_par(DftiNode **node, void *source, void *destination) { \
    return compute(__VA_ARGS__, *node, source, destination);                                                 \
  }
TNK_PARALLEL(forward, c, complex_data, cforward)
TNK_PARALLEL(forward, z, complex_data, zforward)
TNK_PARALLEL(forward, s, packed_data, sforward)
TNK_PARALLEL(forward, d, packed_data, dforward)
TNK_PARALLEL(forward, sc, half_data, half_forward, scforward, cforward)
TNK_PARALLEL(forward, dz, half_data, half_forward, dzforward, zforward)
TNK_PARALLEL(backward, c, complex_data, cbackward)
TNK_PARALLEL(backward, z, complex_data, zbackward)
TNK_PARALLEL(backward, s, packed_data, sbackward)
TNK_PARALLEL(backward, d, packed_data, dbackward)
TNK_PARALLEL(backward, cs, half_data, half_backward, csbackward, cbackward)
TNK_PARALLEL(backward, zd, half_data, half_backward, zdbackward, zbackward)
#undef TNK_PARALLEL
