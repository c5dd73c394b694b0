* Weekly production plan for a small furniture workshop.
* Three products (tables, chairs, desks) compete for carpentry, finishing and
* packing hours, for timber, and for a delivery van.  Tables and chairs sell
* as dining sets, so at least four chairs go out with every table.
NAME          production
OBJSENSE
    MAX
ROWS
 N  profit
 L  carpentry
 L  finishing
 L  packing
 L  timber
 L  van
 L  dining
COLUMNS
    tables    profit    72           carpentry 4
    tables    finishing 2            packing   1
    tables    timber    30           van       3
    tables    dining    4
    chairs    profit    18           carpentry 1.5
    chairs    finishing 1            packing   0.5
    chairs    timber    6            van       0.4
    chairs    dining    -1
    desks     profit    96           carpentry 5
    desks     finishing 3            packing   1.5
    desks     timber    40           van       4
    overtime  profit    -4           carpentry -1
RHS
    rhs       carpentry 240          finishing 140
    rhs       packing   60           timber    2000
    rhs       van       120
BOUNDS
 UP bnd       desks     20
 UP bnd       overtime  40
ENDATA
