"""Recognises texts by a grammar in EBNF, as long as no rule of it needs itself."""

import re

TOKEN = re.compile(r"""
    \(\*.*?\*\) | \s+                     # nothing to see
  | "(?P<double>[^"]*)" | '(?P<single>[^']*)'
  | \?(?P<special>[^?]*)\?
  | (?P<name>[a-z](?:[a-z ]*[a-z])?)
  | (?P<sign>[=,;|(){}\[\]])
""", re.VERBOSE | re.DOTALL)

CLOSING = {"(": ")", "{": "}", "[": "]"}
REPEATED = {"(": "", "{": "*", "[": "?"}


def tokens_of(text):
    position = 0
    while position < len(text):
        match = TOKEN.match(text, position)
        if not match:
            raise ValueError(f"grammar: {text[position:position + 20]!r}")
        position = match.end()
        if match.lastgroup:
            yield match.lastgroup, match.group(match.lastgroup)
    yield "sign", "end"


def special(text):
    """The regular expression of what stands between two question marks."""
    text = text.strip()
    if text == "line feed":
        return r"\n"
    words = text.removeprefix("any character except ").split()
    if words == text.split():
        raise ValueError(f"grammar: ? {text} ?")
    return "[^" + "".join(re.escape(word) for word in words) + "]"


class Grammar:
    def __init__(self, text):
        self.rules = {}
        self.tokens = list(tokens_of(text))
        while self.tokens[0] != ("sign", "end"):
            name = self.take("name")
            self.take("sign", "=")
            self.rules[name] = self.alternatives()
            self.take("sign", ";")
        self.expressions = {}

    def accepts(self, rule, text):
        if rule not in self.expressions:
            self.expressions[rule] = re.compile(self.expand(rule))
        return self.expressions[rule].fullmatch(text) is not None

    def expand(self, rule):
        return re.sub(r"\{\{(.*?)\}\}", lambda match: f"(?:{self.expand(match.group(1))})",
                      self.rules[rule])

    def take(self, kind, value=None):
        found, text = self.tokens.pop(0)
        if found != kind or value not in (None, text):
            raise ValueError(f"grammar: {text!r} where there should be {value or kind!r}")
        return text

    def alternatives(self):
        text = self.sequence()
        while self.tokens[0] == ("sign", "|"):
            self.tokens.pop(0)
            text += "|" + self.sequence()
        return text

    def sequence(self):
        text = self.item()
        while self.tokens[0] == ("sign", ","):
            self.tokens.pop(0)
            text += self.item()
        return text

    def item(self):
        kind, text = self.tokens.pop(0)
        if kind in ("double", "single"):
            return re.escape(text)
        if kind == "special":
            return special(text)
        if kind == "name":
            return "{{" + text + "}}"
        inner = self.alternatives()
        self.take("sign", CLOSING[text])
        return f"(?:{inner}){REPEATED[text]}"


def grammar_of(blocks):
    """The grammar that the documentation has."""
    texts = [block.text for block in blocks if block.language == "ebnf"]
    if len(texts) != 1:
        raise ValueError(f"there are {len(texts)} grammars")
    return Grammar(texts[0])
