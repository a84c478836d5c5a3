"""Formulas of the public headers, which are written to be read there, as the reference draws them.

>>> drawn("c[k] = w[k] * sum over n of x[n] cos(pi k (n + 1/2) / lenDCT),    k = 1 .. lenCep")
'c_{k} = w_{k} \\\\cdot \\\\sum_{n} x_{n} \\\\cos\\\\left(\\\\frac{\\\\pi k \\\\left(n + \\\\frac{1}{2}\\\\right)}{\\\\mathrm{lenDCT}}\\\\right),\\\\quad k = 1 \\\\ldots \\\\mathrm{lenCep}'
>>> drawn("a_j = a_j - a_(i-j) k for j < i,    E = E (1 - k k)")
'a_{j} = a_{j} - a_{i - j} k \\\\text{ for } j < i,\\\\quad E = E \\\\left(1 - k k\\\\right)'
>>> drawn("score = val - D 2^-(scaleFactor + 1)")
'\\\\mathrm{score} = \\\\mathrm{val} - D 2^{-\\\\left(\\\\mathrm{scaleFactor} + 1\\\\right)}'
>>> drawn("I1 = sum over i < P of (sum over h of x[i + h P]^2) / K_i")
'I_{1} = \\\\sum_{i < P} \\\\frac{\\\\sum_{h} x_{i + h P}^{2}}{K_{i}}'
"""
import re

FUNCTIONS = {"exp", "ln", "cos", "sin", "max", "min"}
WORDS = {"for", "where", "of", "at", "most", "limited", "not", "in", "increasing", "to", "is", "or", "and", "the", "forms",
         "mode", "bin", "filter", "weight", "single", "precision"}
SIGNS = {"<=": r"\le", ">=": r"\ge", "*": r"\cdot", "..": r"\ldots", "...": r"\ldots"}
TOKEN = re.compile(r"\s{2,}|\s|\d+(?:\.\d+)?(?:e-?\d+)?|[A-Za-z][A-Za-z0-9]*|<=|>=|\.\.\.?|.")
BREAKS = {"=", "<", ">", "<=", ">=", "+", "-", ",", "..", "...", ":"}


class Reader:
    def __init__(self, text):
        self.tokens = TOKEN.findall(text)
        self.place = 0

    def peek(self):
        return self.tokens[self.place] if self.place < len(self.tokens) else ""

    def next(self):
        self.place += 1
        return self.tokens[self.place - 1] if self.place <= len(self.tokens) else ""

    def skip_spaces(self):
        while self.peek().isspace():
            self.next()

    def until(self, end):
        """What stands in front of a word or a bracket that closes."""
        parts = []
        first = 0  # of the product that is read: what a division divides
        while self.peek() and self.peek() != end:
            token = self.next()
            if token == "/":
                self.skip_spaces()
                divisor = self.atom(self.next())
                parts[first:] = [rf"\frac{{{bare(' '.join(parts[first:]))}}}{{{bare(divisor)}}}"]
                continue
            if token.isspace():
                if len(token) > 1:
                    parts.append(r"\quad")
                    first = len(parts)
                continue
            part = self.atom(token)
            parts.append(part)
            if token in BREAKS or token in WORDS or part.startswith(r"\sum"):
                first = len(parts)
        self.next()
        text = re.sub(r" ,", ",", " ".join(part for part in parts if part))
        return re.sub(r", \\quad", r",\\quad", text)

    def subscripts(self, name):
        below = []
        digits = re.fullmatch(r"([A-Za-z]+)(\d+)", name)
        if digits:
            name = digits[1]
            below.append(digits[2])
        name = name if len(name) == 1 else r"\mathrm{%s}" % name
        while self.peek() in ("[", "_"):
            if self.next() == "[":
                below.append(self.until("]"))
            elif self.peek() == "(":
                self.next()
                below.append(self.until(")"))
            else:
                index = self.next()
                below.append("\\" + index if index in FUNCTIONS else index)
        return name + ("_{%s}" % ",".join(below) if below else "")

    def power(self, base):
        if self.peek() != "^":
            return base
        self.next()
        sign = self.next() if self.peek() == "-" else ""
        exponent = self.next()
        inside = self.until(")") if exponent == "(" else exponent
        return base + "^{%s%s}" % (sign, r"\left(%s\right)" % inside if exponent == "(" and sign else inside)

    def total(self):
        self.skip_spaces()
        if self.peek() == "of":
            self.next()
            return r"\sum"
        if self.peek() != "over":
            return r"\sum"
        self.next()
        return r"\sum_{%s}" % self.until("of").strip()

    def atom(self, token):
        if token == "sum":
            return self.total()
        if token == "(":
            return self.power(r"\left(%s\right)" % self.until(")"))
        if token == "[":
            return r"\left[%s\right]" % self.until("]")
        if token == "sqrt" and self.peek() == "(":
            self.next()
            return self.power(r"\sqrt{%s}" % self.until(")"))
        if token in WORDS:
            return r"\text{ %s }" % token
        if token == "pi":
            return r"\pi"
        if token in FUNCTIONS or (token[0].isalpha() and self.peek() == "("):
            name = "\\" + token if token in FUNCTIONS else self.subscripts(token)
            if self.peek() != "(":
                return name
            self.next()
            return self.power(name + r"\left(%s\right)" % self.until(")"))
        if token[0].isalpha():
            return self.power(self.subscripts(token))
        if token[0].isdigit():
            return self.power(token)
        return SIGNS.get(token, token)


def bare(text):
    """Without the brackets that a fraction's line makes needless."""
    inner = re.fullmatch(r"\\left\((.*)\\right\)", text)
    if not inner:
        return text
    depth = 0
    for bracket in re.findall(r"\\left\(|\\right\)", inner[1]):
        depth += 1 if bracket == r"\left(" else -1
        if depth < 0:
            return text
    return inner[1]


def drawn(line):
    line = re.sub(r"^\*", "", line.strip())
    name = re.match(r"(\w{2,}) {3,}", line)  # of what the line is about
    if name:
        return r"\text{%s}\quad " % name[1] + Reader(line[name.end():]).until("")
    return Reader(line).until("")


def is_formula(lines):
    """Not a picture of bytes, a table or a sentence."""
    words = sum(len(re.findall(r"\b(?:%s)\b" % "|".join(WORDS), line)) for line in lines)
    relations = all(re.search(r" [=<>+-]|^mode|^val", line.strip()) or line.strip().startswith(("+", "-")) for line in lines)
    return relations and words <= 4 * len(lines) and not re.search(r"--|:|[|'#]|log-addition|values", "\n".join(lines))


def draw(comment):
    """A comment with its formulas, the indented lines outside of @code, for MathJax."""
    lines = comment.split("\n")
    result = []
    code = False
    place = 0
    while place < len(lines):
        end = place
        while not code and end < len(lines) and re.match(r" \*     +\S", lines[end]) and "*/" not in lines[end]:
            end += 1
        block = [line[2:] for line in lines[place:end]]
        if block and is_formula(block):
            rows = [("" if k == 0 or not line.startswith("         ") else r"\qquad ") + drawn(line)
                    for k, line in enumerate(block)]
            rows = [" * " + "&" + row + (r" \\" if k + 1 < len(rows) else "") for k, row in enumerate(rows)]
            rows[0] = rows[0].replace("* ", r"* \f[\begin{aligned}", 1)
            rows[-1] += r"\end{aligned}\f]"
            result += rows
            place = end
            continue
        code = ("@code" in lines[place] or code) and "@endcode" not in lines[place]
        result.append(lines[place])
        place += 1
    return "\n".join(result)
