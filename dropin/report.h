// The names by which a program learns of bad arguments, and may take over: ours are for programs that do not.
#pragma once

#include "dropin/face.h"

TNK_BEGIN_DECLS

// For the wrappers' callers: 1 while a report of the C face is under way, and while one of a call by rows is.
extern int CBLAS_CallFromC, RowMajorStrg;

void xerbla_(const char *name, const tnk::dropin::Int *position, std::size_t length);
void xerbla_array_(const char *name, const tnk::dropin::Int *length, const tnk::dropin::Int *position);
void cblas_xerbla(tnk::dropin::Int position, const char *name, const char *form, ...);

TNK_END_DECLS
