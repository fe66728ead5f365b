# Linear algebra of R on the BLAS that this process has, held to what defines each result.
stopifnot("the BLAS is not the one to be tried" = any(grepl(Sys.getenv("EXPECTED_BLAS"), readLines("/proc/self/maps"), fixed = TRUE)))
set.seed(1)
checks <- 0
small <- function(error, bound) {
  stopifnot(error <= bound)
  checks <<- checks + 1
}
eps <- .Machine$double.eps
for (n in c(1, 2, 7, 50, 333)) {
  a <- matrix(rnorm(n * n), n)
  b <- matrix(rnorm(3 * n), n)
  size <- max(abs(a)) * n
  x <- solve(a, b)
  small(max(abs(a %*% x - b)), 1e2 * n * eps * size * max(abs(x)))
  s <- crossprod(a)
  small(max(abs(s - t(a) %*% a)), 10 * n * eps * max(s))
  e <- eigen(s, symmetric = TRUE)
  small(max(abs(s - e$vectors %*% (e$values * t(e$vectors)))), 1e2 * n * eps * max(e$values))
  g <- eigen(a)
  small(max(Mod(a %*% g$vectors - g$vectors %*% diag(g$values, n))), 1e3 * n * eps * size)
  d <- svd(a)
  small(max(abs(a - d$u %*% (d$d * t(d$v)))), 1e2 * n * eps * max(d$d))
  p <- s + diag(n)
  small(max(abs(crossprod(chol(p)) - p)), 10 * n * eps * max(p))
  small(max(abs(chol2inv(chol(p)) %*% p - diag(n))), 1e2 * n * eps * max(p) * n)
  q <- qr(a, LAPACK = TRUE)
  small(max(abs(qr.Q(q) %*% qr.R(q) - a[, q$pivot])), 1e2 * n * eps * size)
  small(max(abs(outer(b[, 1], b[, 2]) - b[, 1] %*% t(b[, 2]))), 0)
  z <- a + 1i * t(a)
  small(max(Mod(z %*% solve(z) - diag(n))), 1e3 * n * eps * size * max(Mod(solve(z))))
}
fit <- lm(mpg ~ wt + hp, mtcars)
small(abs(sum(resid(fit) * mtcars$wt)), 1e-10)
cat(checks, "checks\n")
