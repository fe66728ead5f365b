% Linear algebra of Octave on the BLAS that this process has, held to what defines each result.
1;
function count (error_, bound)
  global checks;
  assert (error_ <= bound);
  checks += 1;
end
global checks = 0;
assert (! isempty (strfind (fileread ("/proc/self/maps"), getenv ("EXPECTED_BLAS"))), "the BLAS is not the one to be tried");
rand ("seed", 1);
for n = [1, 2, 7, 50, 333]
  for kind = {"double", "single", "complex"}
    a = rand (n) - 0.5;
    if (strcmp (kind, "single")) a = single (a); endif
    if (strcmp (kind, "complex")) a = a + 1i * rand (n); endif
    b = a(:, 1:min (n, 3)) + 1;
    unit = n * eps (class (a)) * norm (a, "fro");
    x = a \ b;
    count (norm (a * x - b), 100 * unit * norm (x));
    s = a' * a;
    [v, d] = eig ((s + s') / 2);
    count (norm (s * v - v * d), 100 * unit * norm (a, "fro"));
    [v, d] = eig (a);
    count (norm (a * v - v * d), 1000 * unit);
    [u, d, v] = svd (a);
    count (norm (u * d * v' - a), 100 * unit);
    p = s + eye (n);
    r = chol (p);
    count (norm (r' * r - p), 100 * n * eps (class (a)) * norm (p));
    [q, r] = qr (a);
    count (norm (q * r - a), 100 * unit);
    [l, u, p] = lu (a);
    count (norm (l * u - p * a), 100 * unit);
    [u, t] = schur (a);
    count (norm (u * t * u' - a), 1000 * unit);
    e = expm (a / (1 + norm (a)));
    count (norm (e * expm (-a / (1 + norm (a))) - eye (n)), 1000 * n * eps (class (a)));
  endfor
endfor
printf ("%d checks\n", checks);
