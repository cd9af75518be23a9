"""What the pages of docs/conformance are made of: figures whose digits hold, rows, tables, a page."""

import math

HOLDS, DEVIATES, UNEXPLAINED = "holds", "**deviates**", "nobody says why"


def number(value, digits=2, sign=False):
    """A decimal with a true minus; what rounds to nothing has no sign.

    References differ in their last bits from machine to machine: ties are decided a ten-millionth of
    the last digit away from the middle, so that the text does not hang on them.
    """
    value = float(value)
    if math.isinf(value):
        return "∞" if value > 0 else "−∞"
    value += math.copysign(1e-7 * 10.0**-digits, value)
    text = f"{value:+.{digits}f}" if sign else f"{value:.{digits}f}"
    if not text.strip("+-0."):
        return text.lstrip("+-")
    return text.replace("-", "−")


def signed(value, digits=2):
    return number(value, digits, sign=True)


def power_of_ten(value, digits=1):
    """1.9·10⁻⁷; as many digits behind the point as asked for."""
    if value == 0:
        return "0"
    exponent = math.floor(math.log10(abs(value)))
    mantissa = number(value / 10.0**exponent, digits)
    if mantissa.startswith("10"):
        mantissa, exponent = number(value / 10.0**(exponent + 1), digits), exponent + 1
    raised = str(exponent).translate(str.maketrans("-0123456789", "⁻⁰¹²³⁴⁵⁶⁷⁸⁹"))
    return f"{mantissa}·10{raised}"


def ladder(value, floor=0.0):
    """Rounding errors as the next step of 1, 2, 5: "≤ 2·10⁻¹⁶"; below a floor as that: "< 10⁻¹⁴".

    The errors themselves are the computer's, but what they are measured against is good for one digit
    only; a step that a hundredth more or less would change is taken one higher.
    """
    if value < floor:
        return "< " + power_of_ten(floor, 0).replace("1·", "")
    if value == 0:
        return "0"
    exponent = math.floor(math.log10(value))
    for step in (1, 2, 5, 10, 20):
        if value * 1.02 <= step * 10.0**exponent:
            return "≤ " + power_of_ten(step * 10.0**exponent, 0)
    raise AssertionError(value)


def hertz(value):
    return f"{value:g} Hz" if value < 1000 else f"{value / 1000:g} kHz"


class Table:
    """A table whose rows say what was expected, measured, and how far within the limit it is."""

    def __init__(self, head, align=None):
        self.head = head
        self.align = align or ["---"] + ["--:"] * (len(head) - 2) + ["---"]
        self.rows = []

    def add(self, *cells):
        assert len(cells) == len(self.head), cells
        self.rows.append([str(cell) for cell in cells])

    def text(self):
        lines = ["| " + " | ".join(self.head) + " |", "|" + "|".join(self.align) + "|"]
        return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in self.rows])


class Page:
    """One page: its text, its tables, and a count of what holds and what deviates."""

    def __init__(self, name, title, says):
        self.name, self.title, self.says = name, title, says
        self.parts = []
        self.holds = self.deviates = 0
        self.facts = {}

    def write(self, text):
        self.parts.append("\n".join(line.rstrip() for line in text.strip().splitlines()))

    def section(self, title, text=""):
        self.write(f"## {title}" + (f"\n\n{text.strip()}" if text else ""))

    def table(self, *head, align=None):
        table = Table(list(head), align)
        self.parts.append(table)
        return table

    def verdict(self, good, why=None):
        """The last cell of a row; what deviates needs its reason; a page without is not written."""
        if good:
            self.holds += 1
            return HOLDS
        self.deviates += 1
        return f"{DEVIATES}: {why or UNEXPLAINED}"

    def text(self):
        body = "\n\n".join(part.text() if isinstance(part, Table) else part for part in self.parts)
        made = "<!-- made by tools/conformance; tests/python/test_conformance.py holds it -->"
        count = f"{self.holds} rows hold"
        if self.deviates:
            count += f", {self.deviates} deviate and say why"
        return f"# {self.title}\n\n{made}\n\n{self.says.strip()}\n\n{count}.\n\n{body}\n"
