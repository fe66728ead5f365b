! C := A B and the norm of its elements, from Fortran.
!
!   gfortran product.f90 $(pkg-config --libs tnk) -Wl,-rpath,$(pkg-config --variable=libdir tnk) -o product
program product
  use, intrinsic :: iso_c_binding, only: c_char, c_double, c_int64_t
  implicit none

  interface
    subroutine tnk_blas_dgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc) bind(c)
      import :: c_char, c_double, c_int64_t
      character(kind=c_char), intent(in) :: transa, transb
      integer(c_int64_t), intent(in) :: m, n, k, lda, ldb, ldc
      real(c_double), intent(in) :: alpha, beta, a(lda, *), b(ldb, *)
      real(c_double), intent(inout) :: c(ldc, *)
    end subroutine
    real(c_double) function tnk_blas_dnrm2(n, x, incx) bind(c)
      import :: c_double, c_int64_t
      integer(c_int64_t), intent(in) :: n, incx
      real(c_double), intent(in) :: x(*)
    end function
  end interface

  integer(c_int64_t), parameter :: n = 3, one = 1
  real(c_double) :: a(n, n), b(n, n), c(n, n)
  integer(c_int64_t) :: i

  a = reshape([(real(i, c_double), i = 1, n * n)], [n, n])
  b = transpose(a)
  call tnk_blas_dgemm('N', 'N', n, n, n, 1.0_c_double, a, n, b, n, 0.0_c_double, c, n)
  print '(3f8.1)', transpose(c)
  print '(a, f0.4)', 'norm = ', tnk_blas_dnrm2(n * n, c, one)
end program
