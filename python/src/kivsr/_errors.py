"""What the package raises beside TypeError, ValueError and OSError."""

from ._backend import native

__all__ = ["Fault", "StatusError"]

Fault = native.Fault
StatusError = native.StatusError
