"""The version of the library that the package is built from."""

__version__ = "5.2"
