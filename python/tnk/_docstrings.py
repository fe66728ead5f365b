"""Sections of docstrings that several functions share."""

from __future__ import annotations

import inspect
from typing import Callable, TypeVar

_Function = TypeVar("_Function", bound=Callable)


def like(other: Callable) -> Callable[[_Function], _Function]:
    """Parameters and errors of the other function, to stand before and behind the result in a docstring."""

    def documented(function: _Function) -> _Function:
        own, theirs = inspect.getdoc(function), inspect.getdoc(other)
        if own and theirs:  # Python may leave them out
            starts = [theirs.index(f"{title}\n---") for title in ("Parameters", "Returns", "Raises", "Examples")]
            result, examples = own.index("Returns\n---"), own.index("Examples\n---")
            parameters, errors = theirs[starts[0] : starts[1]], theirs[starts[2] : starts[3]]
            function.__doc__ = own[:result] + parameters + own[result:examples] + errors + own[examples:]
        return function

    return documented
