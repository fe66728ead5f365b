// Task records: their life, what freezes them, and which kernel they choose.
#include "conv/problem.h"
#include "support/lasting_allocator.h"
#include <cmath>
#include <tnk/services.h>

namespace tnk::test {
namespace {

constexpr int32_t none = 0;

class ConvTask : public testing::Test {
protected:
  void SetUp() override { allocations.reset(); }
  void TearDown() override {
    for (tnk_conv_task *&task : tasks_) tnk_conv_DeleteTask(&task);
    EXPECT_EQ(allocations.live, 0);
    EXPECT_EQ(allocations.overrun, 0);
  }
  // x 2 (by 2 ...), y 3, z 4.
  tnk_conv_task *make(int32_t job, int32_t mode, int32_t kind, int32_t precision, int32_t dims) {
    const int32_t xshape[] = {2, 2, 2}, yshape[] = {3, 3, 3}, zshape[] = {4, 4, 4};
    tnk_conv_task *task = nullptr;
    EXPECT_EQ(tnk_conv_NewTask(&task, job, 7, mode, kind, precision, dims, xshape, yshape, zshape), none);
    tasks_.push_back(task);
    return task;
  }
  std::vector<tnk_conv_task *> tasks_;
};

const double x[8] = {1, 10, 2, 20, 3, 30, 4, 40}, y[27] = {1, 2, 3};

TEST_F(ConvTask, StartsAndCopies) {
  tnk_conv_task *task = make(2, 1, 1, 2, 1);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(task) % 4096, 0u);
  EXPECT_TRUE(task->status == 0 && task->committed == 0 && task->second == 7 &&
              task->internal_precision == 2);
  EXPECT_TRUE(!task->xstride && !task->start && !task->aux);

  const int32_t start[] = {-1}, steps[] = {2};
  EXPECT_EQ(tnk_conv_EditTask(task, 5, start), none);
  EXPECT_EQ(tnk_conv_EditTask(task, 4, steps), none);
  EXPECT_EQ(tnk_conv_EditTask(task, 6, steps), none);
  EXPECT_EQ(tnk_conv_CommitTask(task), none);
  tnk_conv_task *copy = nullptr;
  ASSERT_EQ(tnk_conv_CopyTask(&copy, task), none);
  tasks_.push_back(copy);
  EXPECT_TRUE(copy->committed == 1 && copy->reserved == 2 && copy->second == 7);
  EXPECT_TRUE(copy->zshape == copy->zshape_values && copy->start == copy->start_values);
  EXPECT_TRUE(copy->decimation == copy->decimation_values && !copy->xstride);
  task->start_values[0] = task->decimation_values[0] = 100; // the copy has its own
  double z[4];
  copy->zshape[0] = 2;
  ASSERT_EQ(tnk_conv_Exec(copy, x, nullptr, y, nullptr, z, nullptr), none);
  EXPECT_TRUE(z[0] == 10 && z[1] == 32);
}

TEST_F(ConvTask, KeepsAnOperand) {
  const int32_t xshape = 2, yshape = 3, zshape = 4, stride = -2;
  tnk_conv_task *task = nullptr;
  ASSERT_EQ(tnk_conv_NewTaskX(&task, 1, 0, 1, 1, 2, 1, &xshape, &yshape, &zshape, x, &stride), none);
  tasks_.push_back(task);
  double z[4];
  ASSERT_EQ(tnk_conv_ExecX(task, y, nullptr, z, nullptr), none); // 2 1 over 1 2 3
  EXPECT_EQ(std::vector<double>(z, z + 4), (std::vector<double>{2, 5, 8, 3}));
  // Without one of its own the kernel has nothing to read.
  EXPECT_EQ(tnk_conv_ExecX(make(1, 1, 1, 2, 1), y, nullptr, z, nullptr), int32_t{TNK_CONV_NULL_X});
}

TEST_F(ConvTask, Edits) {
  tnk_conv_task *task = make(1, 1, 1, 2, 2);
  const int32_t values[] = {1, 2};
  for (int32_t parameter = -1; parameter <= 20; ++parameter) {
    const bool settable = (parameter >= 3 && parameter <= 6) || parameter == 9;
    const bool known = parameter >= 1 && parameter <= 19;
    const int32_t expected = settable ? TNK_CONV_OK : known ? TNK_CONV_EDIT_FIXED : TNK_CONV_EDIT_RANGE;
    EXPECT_EQ(tnk_conv_CommitTask(task), none);
    EXPECT_EQ(tnk_conv_EditTask(task, parameter, values), expected) << parameter;
    EXPECT_EQ(task->committed, 0) << parameter;
    EXPECT_EQ(tnk_conv_ccGetStatus(task), none); // such refusals do not stick
  }
  EXPECT_TRUE(task->mode == 1 && task->internal_precision == 1);
  EXPECT_EQ(std::memcmp(task->start, values, sizeof values), 0);
  EXPECT_EQ(std::memcmp(task->decimation, values, sizeof values), 0);
  tnk_conv_CommitTask(task);
  EXPECT_EQ(tnk_conv_EditTask(task, 3, nullptr), int32_t{TNK_CONV_NULL});
  EXPECT_EQ(task->committed, 0);
  EXPECT_EQ(tnk_conv_EditTask(nullptr, 3, values), int32_t{TNK_CONV_NULL});
}

TEST_F(ConvTask, FreezesWithAStatus) {
  tnk_conv_task *task = make(1, 1, 1, 2, 1), *copy = nullptr;
  double z[4] = {};
  const int32_t start = 9, zero = 0, bad = TNK_CONV_BAD_START;
  const auto exec = [&] { return tnk_conv_Exec(task, x, nullptr, y, nullptr, z, nullptr); };
  tnk_conv_EditTask(task, 5, &start);
  EXPECT_EQ(exec(), bad);
  for (const int32_t status :
       {tnk_conv_ccGetStatus(task), tnk_conv_EditTask(task, 3, &start), tnk_conv_EditTask(task, 99, nullptr),
        tnk_conv_CommitTask(task), tnk_conv_CopyTask(&copy, task), tnk_conv_ccSetStatus(task, 5)})
    EXPECT_EQ(status, bad);
  EXPECT_TRUE(task->committed == 1 && !copy);
  EXPECT_EQ(exec(), 5);
  EXPECT_EQ(tnk_conv_ccSetStatus(task, 0), 5);
  EXPECT_EQ(tnk_conv_EditTask(task, 5, &zero), none);
  EXPECT_EQ(exec(), none);
  EXPECT_EQ(z[3], 30);
}

TEST_F(ConvTask, NullsAndMemory) {
  tnk_conv_task *task = make(1, 1, 1, 2, 1), *absent = nullptr;
  const int32_t null = TNK_CONV_NULL, no_memory = TNK_CONV_NO_TASK_MEMORY, n = 1;
  for (const int32_t status :
       {tnk_conv_NewTask(nullptr, 1, 0, 0, 1, 1, 1, &n, &n, &n), tnk_conv_CopyTask(nullptr, task),
        tnk_conv_CopyTask(&absent, nullptr), tnk_conv_CommitTask(nullptr), tnk_conv_ccGetStatus(nullptr),
        tnk_conv_ccSetStatus(nullptr, 1), tnk_conv_DeleteTask(nullptr),
        tnk_conv_Exec(nullptr, x, nullptr, y, nullptr, nullptr, nullptr),
        tnk_conv_ExecX(nullptr, y, nullptr, nullptr, nullptr)})
    EXPECT_EQ(status, null);
  EXPECT_EQ(tnk_conv_DeleteTask(&absent), none);
  allocations.refuse = 1;
  EXPECT_EQ(tnk_conv_NewTask(&absent, 1, 0, 0, 1, 1, 1, &n, &n, &n), no_memory);
  allocations.refuse = 1;
  EXPECT_EQ(tnk_conv_CopyTask(&absent, task), no_memory);
  EXPECT_EQ(absent, nullptr);
}

// aux: a block of one number, copied with 1 added.
int32_t copy_aux(tnk_conv_task *task, void **new_aux, void *old_aux, ...) {
  EXPECT_EQ(task->zshape, task->zshape_values); // the rest of the task stands
  const auto number = *static_cast<const int *>(old_aux);
  if (number == 0) return 1;
  *new_aux = tnk_serv_tnk_malloc(sizeof number, 16);
  *static_cast<int *>(*new_aux) = number + 1;
  return 0;
}
int32_t release_aux(tnk_conv_task *task) {
  return *static_cast<const int *>(task->aux) < 0;
}

TEST_F(ConvTask, CarriesWhatIsHungOntoIt) {
  const auto hang = [&](int number) {
    tnk_conv_task *const task = make(1, 1, 1, 2, 1);
    task->aux = tnk_serv_tnk_malloc(sizeof number, 16);
    *static_cast<int *>(task->aux) = number;
    task->aux_copy = copy_aux, task->aux_release = release_aux;
    return task;
  };
  tnk_conv_task *copy = nullptr;
  ASSERT_EQ(tnk_conv_CopyTask(&copy, hang(5)), none);
  EXPECT_EQ(*static_cast<int *>(copy->aux), 6);
  EXPECT_EQ(tnk_conv_DeleteTask(&copy), none);
  EXPECT_EQ(copy, nullptr);
  EXPECT_EQ(tnk_conv_CopyTask(&copy, hang(0)), int32_t{TNK_CONV_AUX_COPY});
  EXPECT_EQ(copy, nullptr);
  for (const bool with_function : {false, true}) {
    tnk_conv_task *task = hang(-1);
    tasks_.pop_back();
    if (!with_function) task->aux_release = nullptr;
    EXPECT_EQ(tnk_conv_DeleteTask(&task), int32_t{TNK_CONV_AUX_RELEASE});
    EXPECT_EQ(task, nullptr);
  }
}

// Without strides arrays are dense; the kernel that knows no decimation is for tasks that have none.
TEST_F(ConvTask, TakesDenseArraysAndDecimations) {
  for (const int32_t dims : {1, 3}) {
    const auto each = [&](int32_t value) { return Shape(static_cast<std::size_t>(dims), value); };
    Problem<float> p({false, each(2), each(3), each(2), each(1), each(2)}, each(1), each(1), each(1), true);
    tnk_conv_task *const task = make(1, 1, 1, 1, dims);
    std::fill_n(task->zshape, dims, 2);
    EXPECT_EQ(tnk_conv_EditTask(task, 5, p.conv.start.data()), none);
    EXPECT_EQ(tnk_conv_EditTask(task, 6, p.conv.decimation.data()), none);
    EXPECT_EQ(tnk_conv_Exec(task, p.x.data(), nullptr, p.y.data(), nullptr, p.z.data(), nullptr), none);
    EXPECT_EQ(p.fault(0), "");
  }
}

// The kernel is known by what it computes: the square of 1 + 2^-13 needs more than single arithmetic, that of 1 + 2^-30
// double data; a pair is told from two reals by its product.
TEST_F(ConvTask, ChoosesAKernel) {
  const double eps = std::numeric_limits<float>::epsilon();
  for (const int32_t mode : {0, 1, 2, 7})
    for (const int32_t dims : {1, 2, 3})
      for (const int32_t job : {1, 2, 3})
        for (const int32_t kind : {1, 2, 9})
          for (const int32_t precision : {1, 2, 5})
            for (const int32_t internal : {1, 2, 5}) {
              SCOPED_TRACE(testing::Message() << mode << dims << job << kind << precision << internal);
              tnk_conv_task *const task = make(job, mode, kind, precision, dims);
              const bool complex = kind == 2, single = precision == 1, in_double = !single || internal != 1;
              const int32_t first = job == 2 ? 0 : 1, start[] = {first, 0, 0}, dec[] = {1, 1, 1};
              tnk_conv_EditTask(task, 9, &internal);
              tnk_conv_EditTask(task, 5, start);
              if (kind == 9) tnk_conv_EditTask(task, 6, dec);
              std::fill_n(task->zshape, dims, 1);
              // Sums of x[0] y[0] and x[1] y[1] in one output of a correlation, of a convolution with y reversed.
              const double factor = 1 + std::ldexp(1.0, single ? -13 : -30), exact = factor * factor - 1;
              const int parts = complex ? 2 : 1;
              double re = 0, im = 0;
              const auto run = [&](auto number) {
                decltype(number) xs[16] = {}, ys[54] = {}, zs[128] = {};
                xs[0] = ys[first * parts] = static_cast<decltype(number)>(factor);
                if (complex) xs[1] = 1;
                xs[parts] = -1, ys[(1 - first) * parts] = 1;
                const int32_t status = tnk_conv_Exec(task, xs, nullptr, ys, nullptr, zs, nullptr);
                re = zs[0], im = zs[1];
                return status;
              };
              const int made = allocations.made;
              const int32_t status = single ? run(0.f) : run(0.);
              const bool no_kernel = !single && internal == 1 && dims == 1;
              ASSERT_EQ(status, no_kernel ? int32_t{TNK_CONV_NO_KERNEL} : none);
              EXPECT_EQ(task->status, status);
              if (no_kernel) continue;
              // Single arithmetic loses the square's last bit, and transforms in single a few more.
              EXPECT_NEAR(re, exact, !in_double ? 16 * eps : single ? eps * exact : 1e-15);
              EXPECT_TRUE(mode != 1 || (re == exact) == in_double);
              EXPECT_EQ(allocations.made - made > 3, mode != 1); // a descriptor, or operands alone
              EXPECT_NEAR(im, complex ? factor : 0, single ? 8 * eps : 1e-15);
            }
}

} // namespace
} // namespace tnk::test
