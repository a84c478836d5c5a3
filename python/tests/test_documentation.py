"""Examples in docstrings and scripts."""

import doctest
import importlib
import os
import pkgutil
import runpy
import sys
from pathlib import Path

import numpy as np
import pytest

import kivsr

MODULES = ["kivsr"] + [f"kivsr.{module.name}" for module in pkgutil.iter_modules(kivsr.__path__) if not module.ispkg]
SOURCE = Path(__file__).resolve().parent.parent


@pytest.mark.parametrize("name", MODULES)
def test_docstrings(name, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    result = doctest.testmod(importlib.import_module(name), extraglobs={"kivsr": kivsr, "np": np})
    assert result.failed == 0


def test_public_names_are_documented():
    for name in kivsr.__all__:
        assert getattr(kivsr, name).__doc__, name


@pytest.mark.parametrize("script", sorted((SOURCE / "examples").glob("*.py")), ids=str)
def test_examples(script, tmp_path, monkeypatch, capsys):
    monkeypatch.chdir(tmp_path)
    monkeypatch.setattr(sys, "argv", [str(script)])
    runpy.run_path(str(script), run_name="__main__")
    assert capsys.readouterr().out


def test_the_build_is_the_one_asked_for():
    assert kivsr.backend == os.environ.get("KIVSR_BACKEND", kivsr.backend)
