NAME          fuzz  Iterations 3  Rows 3  Cols 4
 XU x  lim
 XL y  cov
 UL z
 BS w
 LL x
 SC w  1.5
 BR rng  2.0
 SR cov  1
ENDATA
