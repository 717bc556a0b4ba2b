"""python3 -m kvi [WORD ...] [--dimension D]: prints parameters of the catalogue."""

import argparse
import sys

from .search import search


def main() -> int:
    parser = argparse.ArgumentParser(
        prog="python3 -m kvi",
        description="Prints number, name, dimension and legal range of catalogue parameters.")
    parser.add_argument("words", nargs="*", metavar="WORD",
                        help="what the name holds, or the number; all of them when none is given")
    parser.add_argument("--dimension", help="such as length/time, pressure, or 1 for plain numbers")
    given = parser.parse_args()
    found = search(" ".join(given.words), given.dimension)
    for parameter in found:
        print(f"{parameter.number:4}  {parameter.name:24}{parameter.dimension or '?':16}"
              f"{parameter.range}")
    return 0 if found else 1


if __name__ == "__main__":
    sys.exit(main())
