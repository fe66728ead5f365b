"""A plugin of pytest: `scipy.fft` computes by `tnk.fft`, and most of its transforms are to come here."""

import pytest
import scipy.fft
import tnk.fft

_plain = tnk.fft.__ua_function__
_counts = {"here": 0, "back": 0}


def _counted(method, args, kwargs):
    result = _plain(method, args, kwargs)
    if method.__name__ in tnk.fft.COVERED:
        _counts["back" if result is NotImplemented else "here"] += 1
    return result


tnk.fft.__ua_function__ = _counted
scipy.fft.set_global_backend(tnk.fft)


@pytest.hookimpl(trylast=True)
def pytest_sessionfinish(session):
    print(f"\ntransforms computed here: {_counts['here']}, sent back: {_counts['back']}")
    if _counts["here"] < 2 * _counts["back"]:
        session.exitstatus = 1
