NAME          RIMS
ROWS
 N  obj
 L  c1
 N  spare
 G  c2
 E  c3
COLUMNS
    x         obj       1.0          c1        1.0
    x         c2        1.0          spare     9.0
    y         obj       2.0          c1        1.0
    y         c3        1.0
RHS
    rhs1      c1        4.0          c2        1.0
    rhs1      c3        2.0          spare     7.0
    rhs2      c1        8.0
    rhs2      c3        -3.0
RANGES
    rng1      c1        2.0
    rng2      c2        -5.0         c3        -1.5
    rng2      c1        3.0
BOUNDS
 UP bnd1      x         4.0
 LO bnd1      y         1.0
 FR bnd2      x
 BV bnd2      y
QUADOBJ
    x  x  2
    x  y  3
ENDATA
