"""How many elements an array must have, read from the documentation of the parameter.

A shape is a Python expression over the integer parameters, e.g. "(height - 1) * step + width"; of pointers to rows a
pair of expressions, rows and elements of each; None where the text does not say.
"""

import re

INTEGERS = {"int", "unsigned", "size_t", "Kiv8u", "Kiv16s", "Kiv16u", "Kiv32s", "Kiv32u", "Kiv64s"}
ELEMENTS = {"Kiv8u", "Kiv16s", "Kiv16u", "Kiv32s", "Kiv32u", "Kiv64s", "Kiv32f", "Kiv64f", "Kiv32fc", "Kiv32sc", "int"}
NUMBER = r"(?:\d+|[A-Za-z]\w*)"
EXPRESSION = re.compile(rf"\(?{NUMBER}(?:\s*[-+*/]\s*\(?{NUMBER}\)?|\s+(?=[A-Za-z]\w*\b){NUMBER})*\)?")


def summary(comment):
    """The first sentence of a comment."""
    text = re.sub(r"\s*\n \* ?", " ", comment[3:-2]).strip()
    text = re.split(r"@(?:param|return|code|name|defgroup)", text)[0].strip()
    return re.split(r"(?<=[.:]) ", text)[0]


def parameter_texts(comment):
    """The text of each parameter of a comment."""
    text = re.sub(r"\n \* ?", "\n", comment[3:-2])
    texts = {}
    for piece in re.split(r"\n(?=@)", text):
        match = re.match(r"@param(?:\[[a-z,]+\])? ([\w,]+)\s+(.*)", piece.strip(), re.S)
        if match:
            for name in match[1].split(","):
                texts[name] = re.sub(r"\s+", " ", match[2]).strip()
    return texts


def product_at(text, integers):
    """The expression that a text begins with and what follows it: "3 width values" gives "3 * width", "values"."""
    tokens, rest, wanted = [], text, True
    while rest:
        match = re.match(r"\s*(\d+|[A-Za-z]\w*|[-+*/()])", rest)
        if not match:
            break
        token = match[1]
        if wanted:
            if token == "(":
                inner, behind = product_at(rest[match.end():], integers)
                if inner is None or not behind.startswith(")"):
                    break
                tokens.append(f"({inner})")
                rest, wanted = behind[1:].lstrip(), False
                continue
            if not (token.isdigit() or token in integers):
                break
            tokens.append(token)
            wanted = False
        elif token in "+-*/":
            tokens.append("//" if token == "/" else token)
            wanted = True
        elif token in integers or token == "(":
            tokens.append("*")
            wanted = True
            continue
        else:
            break
        rest = rest[match.end():].lstrip()
    if not tokens or wanted:
        return None, text
    return " ".join(tokens), rest


def starts(text, integers):
    """The expressions at the start of the text and behind commas, with what follows each."""
    for place in [0] + [match.end() for match in re.finditer(r", |: |\bmatrix of ", text)]:
        expression, rest = product_at(text[place:], integers)
        if expression is not None and re.match(r"[A-Za-z]|$|[,;.]", rest):
            yield expression, rest


def step_of(text, integers):
    steps = [name for name in integers if name.lower().endswith("step")]
    named = [name for name in steps if re.search(rf"\b{name}\b", text)]
    return named[0] if named else steps[0] if len(steps) == 1 else None


def matrix(rows, width, text, integers):
    """Elements that rows of a width take."""
    if re.search(r"without gaps|one block|packed|back to back", text):
        return f"({rows}) * ({width})"
    step = step_of(text, integers)
    return f"({rows} - 1) * {step} + {width}" if step else None


def rows_shape(text, integers, width):
    """Of pointers to rows: (rows, elements of each)."""
    match = re.match(r"(?:pointers to (?:the )?)?(.*)", text)
    expression, rest = product_at(match[1], integers)
    if expression is None:
        return None
    own = re.search(r"\bof ", rest)
    inner = product_at(rest[own.end():], integers)[0] if own else None
    inner = inner or width
    return (expression, inner) if inner else None


def shape(name, kind, text, parameters):
    """The shape of a parameter, as this module's text says."""
    element = re.sub(r"\bconst\b|[* ]", "", kind)
    if "*" not in kind or element not in ELEMENTS or not text:
        return None
    integers = {parameter for of, parameter in parameters if of in INTEGERS}
    width = next((one for one in ("len", "width") if one in integers), None)
    reads = kind.startswith("const")
    if kind.count("*") == 2:
        return rows_shape(text, integers, width)
    for expression, rest in starts(text, integers):
        if re.match(r"(?:bit )?(?:rows|vectors|frames|means|variances|inverse variances|lists)\b", rest):
            own = re.search(r"\bof ", rest)
            inner = product_at(rest[own.end():], integers)[0] if own else None
            alone = re.match(r"(?:rows|vectors|frames|lists|bit)\b", rest)
            # Rows that are written may be wider than the source's.
            if inner is None and (alone and reads or "apart" in text) and step_of(text, integers):
                inner = width
            if inner:
                return matrix(expression, inner, text, integers)
            if alone:
                return None
        if "apart" in text and step_of(text, integers):
            return matrix(expression, width, text, integers) if width else None
        return None if expression == "0" else expression
    one = element_of_result(name) and not re.search(r"rows|vectors|elements|values|pointers|bytes of", text)
    return "1" if one or (re.match(r"one ", text) and "block" not in text) else None


def element_of_result(name):
    """A parameter for one number: a result, a count, a size."""
    return re.match(r"p(Result|Res|Sum|Dp|FFTOrder|DstLen|\w*Size)$", name) and name != "pCdbkSize"
