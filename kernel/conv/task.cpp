// The life of a task: making, copying, editing, committing and deleting its record.
#include <cstring>
#include <tnk/conv_kernels.h>
#include <tnk/services.h>

namespace tnk::conv {
namespace {

constexpr int32_t page = 4096;

tnk_conv_task *new_record() {
  return static_cast<tnk_conv_task *>(tnk_serv_tnk_malloc(sizeof(tnk_conv_task), page));
}

// A record's own copy of a caller's vector, or null for null.
int32_t *kept(int32_t *own, const int32_t *values, int32_t dims) {
  if (!values) return nullptr;
  if (dims > 0) std::memcpy(own, values, static_cast<std::size_t>(dims) * sizeof *values);
  return own;
}

int32_t edit(tnk_conv_task &task, int32_t parameter, const int32_t *value) {
  switch (parameter) {
  case 3:
    task.mode = *value;
    return TNK_CONV_OK;
  case 4:
    task.reserved = *value;
    return TNK_CONV_OK;
  case 5:
    task.start = kept(task.start_values, value, task.dims);
    return TNK_CONV_OK;
  case 6:
    task.decimation = kept(task.decimation_values, value, task.dims);
    return TNK_CONV_OK;
  case 9:
    task.internal_precision = *value;
    return TNK_CONV_OK;
  default:
    return parameter >= 1 && parameter <= 19 ? TNK_CONV_EDIT_FIXED : TNK_CONV_EDIT_RANGE;
  }
}

} // namespace
} // namespace tnk::conv

using namespace tnk::conv;

int32_t tnk_conv_NewTaskX(tnk_conv_task **task_out, int32_t job, int32_t second, int32_t mode, int32_t kind,
                          int32_t precision, int32_t dims, const int32_t *xshape, const int32_t *yshape,
                          const int32_t *zshape, const void *x, const int32_t *xstride) {
  if (!task_out) return TNK_CONV_NULL;
  tnk_conv_task *const task = new_record();
  if (!task) return TNK_CONV_NO_TASK_MEMORY;
  *task = {};
  task->job = job;
  task->second = second;
  task->mode = mode;
  task->kind = kind;
  task->precision = task->internal_precision = precision;
  task->dims = dims;
  task->xshape = kept(task->xshape_values, xshape, dims);
  task->yshape = kept(task->yshape_values, yshape, dims);
  task->zshape = kept(task->zshape_values, zshape, dims);
  task->xstride = kept(task->xstride_values, xstride, dims);
  task->x = x;
  *task_out = task;
  return TNK_CONV_OK;
}

int32_t tnk_conv_NewTask(tnk_conv_task **task_out, int32_t job, int32_t second, int32_t mode, int32_t kind,
                         int32_t precision, int32_t dims, const int32_t *xshape, const int32_t *yshape,
                         const int32_t *zshape) {
  return tnk_conv_NewTaskX(task_out, job, second, mode, kind, precision, dims, xshape, yshape, zshape,
                           nullptr, nullptr);
}

int32_t tnk_conv_CopyTask(tnk_conv_task **task_out, const tnk_conv_task *source) {
  if (!task_out || !source) return TNK_CONV_NULL;
  if (source->status != 0) return source->status;
  tnk_conv_task *const task = new_record();
  if (!task) return TNK_CONV_NO_TASK_MEMORY;
  *task = *source;
  // Pointers at the source's vectors become pointers at the copy's.
  if (source->start) task->start = task->start_values;
  if (source->decimation) task->decimation = task->decimation_values;
  if (source->xshape) task->xshape = task->xshape_values;
  if (source->yshape) task->yshape = task->yshape_values;
  if (source->zshape) task->zshape = task->zshape_values;
  if (source->xstride) task->xstride = task->xstride_values;
  if (source->aux) {
    task->aux = nullptr;
    if (!source->aux_copy || source->aux_copy(task, &task->aux, source->aux) != 0) {
      tnk_serv_tnk_free(task);
      return TNK_CONV_AUX_COPY;
    }
  }
  *task_out = task;
  return TNK_CONV_OK;
}

int32_t tnk_conv_DeleteTask(tnk_conv_task **address) {
  if (!address) return TNK_CONV_NULL;
  tnk_conv_task *const task = *address;
  if (!task) return TNK_CONV_OK;
  bool released = true;
  if (task->aux) {
    released = task->aux_release && task->aux_release(task) == 0;
    tnk_serv_tnk_free(task->aux);
  }
  tnk_serv_tnk_free(task);
  *address = nullptr;
  return released ? TNK_CONV_OK : TNK_CONV_AUX_RELEASE;
}

int32_t tnk_conv_CommitTask(tnk_conv_task *task) {
  if (!task) return TNK_CONV_NULL;
  if (task->status != 0) return task->status;
  task->committed = 1;
  return TNK_CONV_OK;
}

int32_t tnk_conv_EditTask(tnk_conv_task *task, int32_t parameter, const int32_t *value) {
  if (!task) return TNK_CONV_NULL;
  if (task->status != 0) return task->status;
  task->committed = 0;
  return value ? edit(*task, parameter, value) : TNK_CONV_NULL;
}

int32_t tnk_conv_ccGetStatus(const tnk_conv_task *task) {
  return task ? task->status : TNK_CONV_NULL;
}

int32_t tnk_conv_ccSetStatus(tnk_conv_task *task, int32_t status) {
  if (!task) return TNK_CONV_NULL;
  const int32_t old = task->status;
  task->status = status;
  return old;
}
