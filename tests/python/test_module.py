"""The Python module: loading a model from arrays and files, solving, the
solution against hand-worked optima, errors with the library's message,
arrays with and without NumPy, channels."""
import ctypes
import logging
import os
import re

import pytest

from conftest import EXAMPLES, ROOT, close

# max x + y  s.t.  x + 2y <= 4,  3x + y <= 6,  x, y >= 0.
# Both rows bind: x = 1.6, y = 1.2, objective 2.8; duals from
# pi1 + 3 pi2 = 1, 2 pi1 + pi2 = 1: pi = (0.4, 0.2).
SMALL = dict(obj=[1.0, 1.0], rhs=[4.0, 6.0], sense="LL", matbeg=[0, 2, 4],
             matind=[0, 1, 0, 1], matval=[1.0, 3.0, 2.0, 1.0], objsen=-1,
             colnames=["x", "y"], rownames=["a", "b"])


def error_table():
    """code -> text, read from the library's error table source."""
    table = {}
    with open(os.path.join(ROOT, "src", "env", "error.def")) as f:
        for m in re.finditer(r'VLTERR\((\d+),\s*"((?:[^"\\]|\\.)*)"\)', f.read()):
            table[int(m.group(1))] = m.group(2)
    return table


def small(velto, **kw):
    p = velto.Problem(velto.Env(log=False))
    args = dict(SMALL)
    args.update(kw)
    p.load(**args)
    return p


def test_small_model_solves_to_the_hand_worked_optimum(velto):
    p = small(velto).optimize()
    assert p.status == 1 and p.status_text == "optimal"
    assert close(p.objective, 2.8)
    assert [round(v, 9) for v in p.x] == [1.6, 1.2]
    assert [round(v, 9) for v in p.pi] == [-0.4, -0.2] or [round(v, 9) for v in p.pi] == [0.4, 0.2]
    assert [abs(round(v, 9)) for v in p.slack] == [0.0, 0.0]
    assert p.col_names == ["x", "y"] and p.row_names == ["a", "b"]
    assert p.num_rows == 2 and p.num_cols == 2 and p.objsen == -1


def test_model_without_names_has_empty_name_lists(velto):
    p = small(velto, colnames=None, rownames=None)
    assert p.col_names == [] and p.row_names == []


@pytest.mark.parametrize("method", ["auto", "primal", "dual"])
def test_each_method_reaches_the_same_optimum(velto, method):
    assert close(small(velto).optimize(method).objective, 2.8)


def test_file_read_and_written_round_trip(velto, tmp_path):
    p = velto.Problem.read(os.path.join(EXAMPLES, "production.mps"), env=velto.Env(log=False))
    p.optimize()
    out = str(tmp_path / "copy.lp")
    p.write(out)
    q = velto.Problem(p.env)
    q.read(out)
    q.optimize()
    assert q.status == p.status == 1
    assert close(q.objective, p.objective)
    assert q.col_names == p.col_names


def test_bad_call_raises_with_the_library_message(velto):
    table = error_table()
    p = small(velto)
    with pytest.raises(velto.VeltoError) as e:
        p.objective  # nothing solved yet
    assert e.value.status == 1217
    # the error line is "VELTO Error %5d: " + the table text + "."
    assert str(e.value) == "VELTO Error  1217: %s." % table[1217]
    with pytest.raises(velto.VeltoError) as e:
        p.read("/no/such/folder/model.mps")
    assert e.value.status == 1423
    assert str(e.value) == "VELTO Error  1423: " + table[1423] % "/no/such/folder/model.mps" + "."
    # The raw layer raises too, and the problem stays usable.
    x = (ctypes.c_double * 2)()
    with pytest.raises(velto.VeltoError) as e:
        velto.lib.VLTgetx(p.env, p, x, 0, 5)
    assert e.value.status == 1200 and e.value.function == "VLTgetx"
    assert close(p.optimize().objective, 2.8)


def test_parameter_out_of_range_raises(velto):
    env = velto.Env(log=False)
    env.set_param("SIMDISPLAY", 0)
    assert env.get_param("VLT_PARAM_SIMDISPLAY") == 0
    with pytest.raises(velto.VeltoError) as e:
        env.set_param("SIMDISPLAY", 99)
    assert str(e.value).startswith("VELTO Error  %d: " % e.value.status)
    with pytest.raises(velto.VeltoError):
        env.set_param("NO_SUCH_PARAMETER", 1)


def test_integer_model_needs_the_integer_optimizer(velto):
    p = small(velto)
    velto.lib.VLTcopyctype(p.env, p, "IC")
    if velto.has_function("VLTmipopt"):
        pytest.skip("the library has an integer optimizer")
    with pytest.raises(velto.VeltoError, match="no integer optimizer"):
        p.optimize()


def test_arrays_numpy_and_plain_sequences(velto, monkeypatch):
    numpy = pytest.importorskip("numpy")
    p = small(velto, obj=numpy.array([1, 1], dtype=numpy.int64),
              matind=numpy.array([0, 1, 0, 1], dtype=numpy.int64)).optimize()
    assert close(p.objective, 2.8)
    assert isinstance(p.x, numpy.ndarray)
    x = numpy.zeros(2)
    velto.lib.VLTgetx(p.env, p, x, 0, 1)
    assert close(x[0], 1.6)
    with pytest.raises(Exception, match="receives results"):
        velto.lib.VLTgetx(p.env, p, numpy.zeros(2, dtype=numpy.float32), 0, 1)
    with pytest.raises(Exception, match="cannot hold them"):
        velto.lib.VLTgetx(p.env, p, [0.0, 0.0], 0, 1)
    # Without NumPy: the same calls on plain lists and ctypes arrays.
    monkeypatch.setattr(velto._types, "numpy", None)
    monkeypatch.setattr(velto.model, "numpy", None)
    q = small(velto, obj=(1, 1), matind=(0, 1, 0, 1)).optimize()
    assert isinstance(q.x, list) and [round(v, 9) for v in q.x] == [1.6, 1.2]


def test_channels_go_to_callables_and_logging(velto, caplog):
    seen = []
    env = velto.Env(log=seen.append)
    velto.Problem.read(os.path.join(EXAMPLES, "production.lp"), env=env).optimize()
    assert any("Iteration" in t for t in seen)
    caplog.set_level(logging.INFO, logger="velto")
    env.route("results", None)
    velto.Problem.read(os.path.join(EXAMPLES, "production.lp"), env=env).optimize()
    assert any("Iteration" in r.getMessage() for r in caplog.records)
    count = len(seen)
    env.route("results", False)
    env.route("warning", False)
    errors = []
    env.route("error", errors.append)
    p = velto.Problem(env)
    velto.Problem.read(os.path.join(EXAMPLES, "production.lp"), env=env).optimize()
    assert len(seen) == count
    with pytest.raises(velto.VeltoError):
        p.objective
    assert errors and errors[-1].startswith("VELTO Error  1217")


def test_closed_environment_invalidates_its_problems(velto):
    p = small(velto)
    p.env.close()
    with pytest.raises(velto.VeltoError, match="closed"):
        p.optimize()
