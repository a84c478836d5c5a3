from typing import Any

backend: str
native: Any
