"""What the library raises."""


class Error(Exception):
    """An error of the library: its message code (0 when it has none) and the whole text."""

    def __init__(self, code: int, text: str) -> None:
        super().__init__(code, text)
        self.code = code
        self.text = text

    def __str__(self) -> str:
        return self.text


class ArgumentError(Error, ValueError):
    """An argument that the library refused, with the library's own text."""


class RunError(Error):
    """A run of percova that failed: its exit status and what it said.

    Its code is 0. Exit status 2 is a wrong problem or mesh, 3 a run that did not converge, 4 results
    that could not be written."""

    def __init__(self, exit_status: int, text: str) -> None:
        super().__init__(0, text)
        self.args = (exit_status, text)
        self.exit_status = exit_status
