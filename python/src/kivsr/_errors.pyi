class Fault(ValueError): ...

class StatusError(RuntimeError):
    status: int
    function: str
