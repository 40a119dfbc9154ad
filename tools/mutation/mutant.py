"""One change of the code.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses


@dataclasses.dataclass(frozen=True)
class Mutant:
    """`number` switches it, and `point` is the place that is reached."""
    number: int
    point: int
    file: str
    line: int
    code: str
    change: str
