"""velto-cbc as PuLP's command-line solver: the same status and objective as
a CBC reference solver on the same model scripts, and the keyword handling
of the command mode."""
import os
import shutil
import subprocess

import pytest

from conftest import CBC, close

pulp = pytest.importorskip("pulp", reason="PuLP (python3-pulp) not installed")
import pulp_models  # noqa: E402  (needs pulp)


def reference_solver(**kw):
    # The reference is a CBC binary: Debian's cbc when installed, else the
    # one PuLP bundles.  PuLP's own default changes with what else is on the
    # machine (with glpsol present it is GLPK, which fails on infeasible and
    # unbounded models instead of reporting them).
    cbc = shutil.which("cbc")
    if cbc:
        return pulp.COIN_CMD(path=cbc, msg=False, **kw)
    solver = pulp.PULP_CBC_CMD(msg=False, **kw)
    if not solver.available():
        pytest.skip("no CBC reference solver (Debian's coinor-cbc or PuLP's bundled one)")
    return solver


def velto_solver(**kw):
    return pulp.COIN_CMD(path=CBC, msg=False, **kw)


def solve(build, solver):
    p = build()
    p.solve(solver)
    return p


def same_outcome(build, mip):
    ours = solve(build, velto_solver(mip=mip))
    ref = solve(build, reference_solver(mip=mip))
    assert pulp.LpStatus[ours.status] == pulp.LpStatus[ref.status]
    if ref.status == pulp.LpStatusOptimal:
        # the reference prints 8 significant digits
        assert close(pulp.value(ours.objective), pulp.value(ref.objective), rel=1e-6)
        # The values read back satisfy every constraint.
        for name, c in ours.constraints.items():
            assert c.valid(eps=1e-6), name
    return ours


@pytest.mark.parametrize("build", pulp_models.LP_MODELS, ids=lambda f: f.__name__)
def test_lp_model_matches_reference_solver(build):
    same_outcome(build, mip=True)


@pytest.mark.parametrize("build", pulp_models.LP_MODELS + pulp_models.MIP_MODELS,
                         ids=lambda f: f.__name__)
def test_relaxation_matches_reference_solver(build):
    same_outcome(build, mip=False)


def has_mip():
    import velto
    return velto.has_function("VLTmipopt")


@pytest.mark.parametrize("build", pulp_models.MIP_MODELS, ids=lambda f: f.__name__)
def test_mip_model_matches_reference_solver(build):
    if not has_mip():
        pytest.skip("the library has no integer optimizer (VLTmipopt) yet")
    same_outcome(build, mip=True)


def test_duals_and_reduced_costs_read_back():
    # Dual prices of the two binding rows, by hand: 40 = a + 3b, 30 = 2a + b.
    p = solve(pulp_models.production, velto_solver())
    assert close(p.constraints["machine_a"].pi, 10.0)
    assert close(p.constraints["machine_b"].pi, 10.0)
    assert close(p.constraints["machine_a"].slack, 0.0)
    for v in p.variables():
        assert close(v.dj, 0.0)


def write_mps(build, folder):
    p = build()
    path = os.path.join(str(folder), p.name + ".mps")
    p.writeMPS(path)
    return p, path


def run(*args):
    return subprocess.run([CBC] + [str(a) for a in args], capture_output=True, text=True)


def test_integer_model_under_branch_fails_clearly_while_no_integer_optimizer(tmp_path):
    if has_mip():
        pytest.skip("the library has an integer optimizer")
    _, mps = write_mps(pulp_models.knapsack, tmp_path)
    sol = tmp_path / "out.sol"
    r = run(mps, "max", "branch", "solution", sol)
    assert r.returncode != 0
    assert "no integer optimizer" in r.stderr
    assert "initialSolve" in r.stderr
    assert not sol.exists()


def read_status(path):
    return pulp.COIN_CMD().get_status(str(path))


def test_iteration_limit_reads_back_as_not_solved(tmp_path):
    _, mps = write_mps(pulp_models.transport, tmp_path)
    sol = tmp_path / "out.sol"
    r = run(mps, "-presolve", "off", "-maxIterations", "0", "-initialSolve", "-solution", sol)
    assert r.returncode == 0, r.stderr
    assert sol.read_text().startswith("Stopped on iterations")
    assert read_status(sol)[0] == pulp.LpStatusNotSolved


def test_keywords_with_and_without_dashes_and_first_argument_form(tmp_path):
    p, mps = write_mps(pulp_models.production, tmp_path)
    a, b = tmp_path / "a.sol", tmp_path / "b.sol"
    r1 = run(mps, "max", "sec", "60", "threads", "0", "threads", "2", "ratio", "0.01", "allow", "0.5",
             "presolve", "on", "timeMode", "elapsed", "gomory", "on", "strong", "5",
             "initialSolve", "printingOptions", "all", "solution", a)
    r2 = subprocess.run([os.path.join(os.path.dirname(CBC), "velto"), "--cbc", mps, "-max",
                         "--sec=60", "-solve", "-printingOptions", "all", "-solution", b],
                        capture_output=True, text=True)
    assert r1.returncode == 0 and r2.returncode == 0, r1.stderr + r2.stderr
    assert a.read_text().split("\n")[0] == b.read_text().split("\n")[0]
    assert read_status(a)[0] == pulp.LpStatusOptimal


def test_solution_file_lists_rows_then_columns_by_name(tmp_path):
    p, mps = write_mps(pulp_models.production, tmp_path)
    sol = tmp_path / "out.sol"
    assert run(mps, "max", "solve", "printingOptions", "all", "solution", sol).returncode == 0
    lines = sol.read_text().splitlines()
    assert lines[0].split()[:4] == ["Optimal", "-", "objective", "value"]
    names = [ln.split()[1] for ln in lines[1:]]
    assert names == ["machine_a", "machine_b", "x", "y"]
    # normal lists only the nonzero columns and no rows
    assert run(mps, "max", "solve", "printingOptions", "normal", "solution", sol).returncode == 0
    assert [ln.split()[1] for ln in sol.read_text().splitlines()[1:]] == ["x", "y"]


def test_infeasible_entries_are_marked(tmp_path):
    _, mps = write_mps(pulp_models.infeasible, tmp_path)
    sol = tmp_path / "out.sol"
    assert run(mps, "presolve", "off", "solve", "printingOptions", "all", "solution", sol).returncode == 0
    text = sol.read_text()
    assert text.startswith("Infeasible")
    assert "**" in text
    assert read_status(sol)[0] == pulp.LpStatusInfeasible


def test_warm_start_file_is_accepted():
    p = pulp_models.production()
    for v in p.variables():
        v.setInitialValue(1.0)
    p.solve(velto_solver(warmStart=True))
    assert p.status == pulp.LpStatusOptimal


def test_bad_keyword_and_missing_model_fail_with_a_message(tmp_path):
    _, mps = write_mps(pulp_models.production, tmp_path)
    r = run(mps, "-frobnicate", "solve")
    assert r.returncode == 2 and "unknown keyword '-frobnicate'" in r.stderr
    r = run(mps, "sec", "soon")
    assert r.returncode == 2 and "'sec' takes a number, got 'soon'" in r.stderr
    r = run(tmp_path / "absent.mps", "solve")
    assert r.returncode == 2 and "cannot read" in r.stderr and "VELTO Error" in r.stderr
    r = run(mps, "solution", tmp_path / "x.sol")
    assert r.returncode == 2 and "no solution to write" in r.stderr


def test_export_writes_a_model_that_reads_back(tmp_path):
    _, mps = write_mps(pulp_models.transport, tmp_path)
    out = tmp_path / "copy.lp"
    assert run(mps, "export", out, "quit").returncode == 0
    a, b = tmp_path / "a.sol", tmp_path / "b.sol"
    assert run(mps, "solve", "solution", a).returncode == 0
    assert run(out, "solve", "solution", b).returncode == 0
    assert close(float(a.read_text().split()[4]), float(b.read_text().split()[4]))


FAKE_MIP = r"""
/* Stand-ins for the integer optimizer: they only prove that velto-cbc calls
 * what the library exports.  x is left at zero, no incumbent status. */
typedef struct velto_env *VLTENVptr;
typedef struct velto_lp *VLTLPptr;
int VLTmipopt(VLTENVptr env, VLTLPptr lp) { (void)env; (void)lp; return 0; }
int VLTgetmipx(VLTENVptr env, VLTLPptr lp, double *x, int b, int e) {
  (void)env; (void)lp;
  for (int j = b; j <= e; ++j) x[j - b] = 0.0;
  return 0;
}
int VLTgetmipobjval(VLTENVptr env, VLTLPptr lp, double *z) { (void)env; (void)lp; *z = 0; return 0; }
"""


def test_branch_calls_the_integer_optimizer_once_the_library_exports_it(tmp_path):
    import shutil
    cc = shutil.which("cc") or shutil.which("gcc")
    if cc is None:
        pytest.skip("no C compiler to build the stand-in integer optimizer")
    src, so = tmp_path / "fakemip.c", tmp_path / "libfakemip.so"
    src.write_text(FAKE_MIP)
    subprocess.run([cc, "-shared", "-fPIC", "-o", str(so), str(src)], check=True)
    _, mps = write_mps(pulp_models.knapsack, tmp_path)
    sol = tmp_path / "out.sol"
    r = subprocess.run([CBC, mps, "max", "branch", "solution", str(sol)], capture_output=True,
                       text=True, env=dict(os.environ, LD_PRELOAD=str(so)))
    assert r.returncode == 0, r.stderr
    assert "no integer optimizer" not in r.stderr
    # No incumbent status from the stand-in: a stopped run without a solution.
    assert sol.read_text().startswith("Stopped on difficulties - no integer solution")
