"""Shows figures beside their targets.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import typing

_BAR = 40


@dataclasses.dataclass
class Figure:
    """Something that was measured. Smaller is better; without a target it is there for comparison."""

    key: str
    what: str
    value: float
    unit: str = ""
    target: typing.Optional[float] = None
    logged: typing.Optional[float] = None  # the same with the debug log present
    around: typing.Optional[float] = None  # what everything around the driver took

    @property
    def is_met(self):
        return self.target is None or self.value <= self.target


@dataclasses.dataclass
class Section:
    """Figures under a heading, and lines that explain them."""

    title: str
    figures: list
    notes: list = dataclasses.field(default_factory=list)


def number(value, unit=""):
    """Counts with separators, ratios with as many digits as they deserve."""
    if value is None:
        return ""
    if float(value).is_integer():
        text = f"{int(value):,}"
    else:
        text = f"{value:,.1f}" if abs(value) >= 10 else f"{value:,.2f}"
    return f"{text} {unit}".rstrip()


def verdict(figure):
    """By how much the target is met or missed."""
    if figure.target is None:
        return ""
    if figure.target == 0:
        return "met" if figure.is_met else f"missed by {number(figure.value)}"
    share = abs(figure.value - figure.target) / figure.target * 100
    percent = f"{share:.0f} %" if share >= 1 or share == 0 else f"{share:.1g} %"
    if figure.is_met:
        return f"met, {percent} below" if share else "met exactly"
    return f"missed by {percent}"


_COLUMNS = ("", "measured", "target", "", "with the log", "around it")


def _cells(figure):
    return (f"  {figure.what}", number(figure.value, figure.unit), number(figure.target, figure.unit), verdict(figure),
            number(figure.logged, figure.unit), number(figure.around, figure.unit))


def _colour(text, figure, wanted):
    if not wanted or figure.target is None:
        return text
    return f"\033[{32 if figure.is_met else 31}m{text}\033[0m"


def table(sections, colour=False):
    """All sections in one table with common columns; columns that nobody uses are left out."""
    rows = [_cells(figure) for section in sections for figure in section.figures]
    widths = [max(len(row[i]) for row in rows) for i in range(len(_COLUMNS))]
    widths = [max(width, len(title)) if width else 0 for width, title in zip(widths, _COLUMNS)]
    lines = [_line(_COLUMNS, widths)]
    for section in sections:
        lines += ["", section.title]
        for figure in section.figures:
            cells = _cells(figure)
            lines.append(_line(cells, widths, lambda text, figure=figure: _colour(text, figure, colour)))
        lines += [f"  {note}".rstrip() for note in section.notes]
    return "\n".join(lines) + "\n"


def _line(cells, widths, paint=lambda text: text):
    texts = []
    for column, (text, width) in enumerate(zip(cells, widths)):
        if width:
            padded = text.ljust(width) if column in (0, 3) else text.rjust(width)
            texts.append(paint(padded) if column == 3 and text else padded)
    return "  ".join(texts).rstrip()


def plot(points):
    """A bar for each (x, value), with the value for one x: where that stays the same, growth is linear."""
    largest = max(value for _, value in points)
    lines = []
    for x, value in points:
        bar = "#" * max(1, round(value / largest * _BAR))
        lines.append(f"{x:>6,}  {bar:<{_BAR}}  {value:>12,}  {value / x:>8,.0f} each")
    return lines


def summary(sections, colour=False):
    """One line: how many targets are met."""
    targets = [figure for section in sections for figure in section.figures if figure.target is not None]
    missed = [figure for figure in targets if not figure.is_met]
    if not missed:
        text, shade = f"All {len(targets)} targets are met.", 32
    else:
        names = ", ".join(figure.key for figure in missed)
        text, shade = f"{len(missed)} of {len(targets)} targets missed: {names}.", 31
    return f"\033[{shade}m{text}\033[0m" if colour else text


def as_json(sections):
    """The figures for programs."""
    return [{"section": section.title, "notes": section.notes,
             "figures": [dict(dataclasses.asdict(figure), met=figure.is_met) for figure in section.figures]}
            for section in sections]
