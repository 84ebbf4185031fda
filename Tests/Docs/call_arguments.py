"""Arguments of calls in C++ sources, for the scripts that compare printed texts with the documents."""

import re

LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')


def arguments_at(text, start):
    """The text of a call's arguments; `start` is the position after the opening parenthesis."""
    depth, i = 1, start
    while depth:
        if text[i] == '"':
            i = LITERAL.match(text, i).end() - 1
        elif text[i] in '()':
            depth += 1 if text[i] == '(' else -1
        i += 1
    return text[start:i - 1]
