"""PuLP model scripts solved by PuLP's default solver and by velto-cbc.

Each function builds a fresh problem.  LP_MODELS are linear; MIP_MODELS have
integer columns.
"""
import pulp


def diet():
    # Cheapest mix of three foods meeting two nutrient floors; a constant in
    # the objective.
    p = pulp.LpProblem("diet", pulp.LpMinimize)
    bread, milk, beans = (pulp.LpVariable(n, 0) for n in ("bread", "milk", "beans"))
    p += 2.0 * bread + 3.5 * milk + 8.0 * beans + 1.5
    p += 4 * bread + 8 * milk + 7 * beans >= 30, "protein"
    p += 1 * bread + 3 * milk + 9 * beans >= 25, "fibre"
    p += milk <= 4, "milk_cap"
    return p


def production():
    # Maximize profit of two products on two machines.
    p = pulp.LpProblem("production", pulp.LpMaximize)
    x = pulp.LpVariable("x", 0)
    y = pulp.LpVariable("y", 0)
    p += 40 * x + 30 * y
    p += x + 2 * y <= 40, "machine_a"
    p += 3 * x + y <= 45, "machine_b"
    return p


def transport():
    # Three plants, four markets, supply and demand rows.
    supply = {"p1": 35, "p2": 50, "p3": 40}
    demand = {"m1": 45, "m2": 20, "m3": 30, "m4": 30}
    cost = {("p1", "m1"): 8, ("p1", "m2"): 6, ("p1", "m3"): 10, ("p1", "m4"): 9,
            ("p2", "m1"): 9, ("p2", "m2"): 12, ("p2", "m3"): 13, ("p2", "m4"): 7,
            ("p3", "m1"): 14, ("p3", "m2"): 9, ("p3", "m3"): 16, ("p3", "m4"): 5}
    p = pulp.LpProblem("transport", pulp.LpMinimize)
    ship = pulp.LpVariable.dicts("ship", list(cost), 0)
    p += pulp.lpSum(cost[k] * ship[k] for k in cost)
    for s, cap in supply.items():
        p += pulp.lpSum(ship[(s, m)] for m in demand) <= cap, "supply_" + s
    for m, need in demand.items():
        p += pulp.lpSum(ship[(s, m)] for s in supply) == need, "demand_" + m
    return p


def free_and_negative():
    # A free column, a column with a negative lower bound, a fixed column and
    # a column that appears only in the objective.
    p = pulp.LpProblem("bounds", pulp.LpMinimize)
    f = pulp.LpVariable("f")
    n = pulp.LpVariable("n", -5, 5)
    fixed = pulp.LpVariable("fixed", 2, 2)
    lonely = pulp.LpVariable("lonely", 1, 3)
    p += 3 * f - 2 * n + fixed - 4 * lonely
    p += f - n >= -3, "r1"
    p += f + n + fixed >= 1, "r2"
    p += f + 2 * n == 4 + fixed, "r3"
    return p


def infeasible():
    p = pulp.LpProblem("infeasible", pulp.LpMinimize)
    x = pulp.LpVariable("x", 0, 10)
    y = pulp.LpVariable("y", 0, 10)
    p += x + y
    p += x + y >= 25, "too_much"
    return p


def unbounded():
    p = pulp.LpProblem("unbounded", pulp.LpMaximize)
    x = pulp.LpVariable("x", 0)
    y = pulp.LpVariable("y", 0)
    p += 2 * x + y
    p += x - y <= 4, "gap"
    return p


def knapsack():
    values = [15, 10, 9, 5, 12, 7]
    weights = [1, 5, 3, 4, 6, 2]
    p = pulp.LpProblem("knapsack", pulp.LpMaximize)
    take = [pulp.LpVariable("take%d" % i, cat="Binary") for i in range(len(values))]
    p += pulp.lpSum(v * t for v, t in zip(values, take))
    p += pulp.lpSum(w * t for w, t in zip(weights, take)) <= 11, "capacity"
    return p


def integer_production():
    # Integer lots with a continuous overtime column.
    p = pulp.LpProblem("lots", pulp.LpMaximize)
    a = pulp.LpVariable("a", 0, 20, cat="Integer")
    b = pulp.LpVariable("b", 0, cat="Integer")
    over = pulp.LpVariable("over", 0, 3)
    p += 7 * a + 9 * b - 2 * over
    p += 3 * a + 4 * b <= 31 + over, "hours"
    p += a + 2 * b <= 12, "material"
    return p


LP_MODELS = [diet, production, transport, free_and_negative, infeasible, unbounded]
MIP_MODELS = [knapsack, integer_production]
