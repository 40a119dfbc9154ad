"""Writes a C++ source anew so that every change of an operator, a constant or a status is in it, switched by a number.

Where the source says `a < b`, the new one evaluates both operands once and compares them with `<`, `<=` or `>=`, as
gTvqHostMutant tells; and it notes in gTvqHostReached that the place was reached. The lines stay where they are.
Nothing is changed where the language wants a constant (bounds of arrays, cases, template arguments, constexpr), nor in
the default values of members and parameters and what is initialised before main(). Whoever parses the new text
and finds a line that does not compile has it written again with that line barred: the operators there are left alone.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re

from clang.cindex import CursorKind as K
from clang.cindex import TypeKind as T

from mutant import Mutant

DECLARATIONS = 'extern "C" { extern unsigned gTvqHostMutant; extern unsigned char gTvqHostReached[]; } '

_OPERATORS = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"), "==": ("!=",), "!=": ("==",),
    "&&": ("||",), "||": ("&&",), "+": ("-",), "-": ("+",), "*": ("+",), "/": ("*",), "%": ("*",),
    "<<": (">>",), ">>": ("<<",), "&": ("|",), "|": ("&",), "^": ("&",),
    "+=": ("-=",), "-=": ("+=",), "*=": ("+=",), "/=": ("*=",), "<<=": (">>=",), ">>=": ("<<=",), "&=": ("|=",),
    "|=": ("&=",), "^=": ("&=",), "++": ("--",), "--": ("++",)}
_LOGICAL = ("&&", "||")
_OPPOSITES = {"<": ">=", "<=": ">", ">": "<=", ">=": "<", "==": "!=", "!=": "=="}
_COMPARISONS = tuple(_OPPOSITES)

_FUNCTIONS = (K.FUNCTION_DECL, K.CXX_METHOD, K.CONSTRUCTOR, K.DESTRUCTOR, K.CONVERSION_FUNCTION, K.FUNCTION_TEMPLATE)
_SCOPES = (K.NAMESPACE, K.LINKAGE_SPEC, K.UNEXPOSED_DECL, K.CLASS_DECL, K.STRUCT_DECL, K.CLASS_TEMPLATE, K.UNION_DECL,
           K.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION)
_INTEGERS = (T.CHAR_U, T.UCHAR, T.CHAR16, T.CHAR32, T.USHORT, T.UINT, T.ULONG, T.ULONGLONG, T.CHAR_S, T.SCHAR, T.WCHAR,
             T.SHORT, T.INT, T.LONG, T.LONGLONG)

# What is copied to be used twice; anything else is held by a reference.
_SCALARS = _INTEGERS + (T.BOOL, T.ENUM, T.FLOAT, T.DOUBLE, T.LONGDOUBLE, T.POINTER, T.MEMBERPOINTER, T.NULLPTR,
                        T.CONSTANTARRAY)
_LITERALS = (K.INTEGER_LITERAL, K.CHARACTER_LITERAL, K.CXX_BOOL_LITERAL_EXPR)

# Macros that stand for a function; while the source is parsed they are functions of names as long, so that what they
# are given is seen.
STAND_INS = {"EFI_ERROR": "EfiError_", "MIN": "Mi_", "MAX": "Ma_"}
STAND_IN_DECLARATIONS = ("bool EfiError_(unsigned long long);"
                         "template <typename A, typename B> unsigned long long Mi_(A, B);"
                         "template <typename A, typename B> unsigned long long Ma_(A, B);")


def stand_in(text):
    """The text as it is parsed."""
    for macro, name in STAND_INS.items():
        text = re.sub(rf"\b{macro}(?=\s*\()", name, text)
    return text


class Schema:
    """The new text of one file, and the mutants in it, numbered from `first`. Operators on the lines `barred` are left
    alone, and so is what spans one of the lines `spanned`; `left` counts them. The static variables of functions are
    initialised at run time where the code is `hosted`."""

    def __init__(self, unit, path, name, text, first, hosted, barred=(), spanned=()):
        self._source = text.encode()
        self._hosted = hosted
        self._barred = barred
        self._spanned = spanned
        self.left = 0
        self._path = str(path)
        self._name = name
        self._first = first
        self._points = 0
        self._lines = text.splitlines()
        self.mutants = []
        self._macros = self._macros_of(unit)
        self._rows = set(self._rows_of(unit.cursor))
        changed = self._scope(unit.cursor)
        self.text = DECLARATIONS + changed if self.mutants else text

    # The tree, from the outside in.

    def _scope(self, cursor):
        whole = (0, len(self._source)) if cursor.kind == K.TRANSLATION_UNIT else None
        return self._splice(cursor, self._declaration, whole)

    def _declaration(self, cursor):
        if cursor.kind in _SCOPES:
            return self._scope(cursor)
        if cursor.kind in _FUNCTIONS:
            if not cursor.is_definition():
                return None
            return self._leave(cursor) if self._constant(cursor) else self._splice(cursor, self._body)
        if cursor.kind == K.LAMBDA_EXPR:
            return self._splice(cursor, self._body)
        if cursor.kind in (K.VAR_DECL, K.INIT_LIST_EXPR, K.UNEXPOSED_EXPR, K.CALL_EXPR):
            # Tables of functions.
            return self._splice(cursor, self._declaration)
        return self._leave(cursor) if cursor.kind == K.FIELD_DECL else None

    def _body(self, cursor):
        if cursor.kind == K.COMPOUND_STMT or cursor.kind.is_expression():
            return self._rewrite(cursor)
        return self._leave(cursor) if cursor.kind == K.PARM_DECL else None

    def _leave(self, cursor):
        """Nothing new, for what cannot be changed at run time."""
        self.left += sum(child.kind in (K.BINARY_OPERATOR, K.UNARY_OPERATOR, *_LITERALS) and self._here(child)
                         for child in cursor.walk_preorder())

    def _constant(self, cursor):
        """Whether the declaration begins with constexpr."""
        words = (token.spelling for token in cursor.get_tokens())
        for word in words:
            if word in ("constexpr", "static_assert"):
                return True
            if word in ("{", "=", "("):
                return False
        return False

    # Statements and expressions.

    def _rewrite(self, cursor):
        macro = self._macro_at(cursor)
        if macro is not None:
            return None if self._is_barred(cursor) else self._macro(cursor, macro)
        name = "_" + cursor.kind.name.lower()
        if not hasattr(self, name) or name in _CHANGED and self._is_barred(cursor):
            return self._splice(cursor, self._rewrite)
        return getattr(self, name)(cursor)

    def _is_barred(self, cursor):
        """Whether the changes here did not compile."""
        lines = range(cursor.extent.start.line, cursor.extent.end.line + 1)
        barred = self._line(cursor) in self._barred or any(line in self._spanned for line in lines)
        self.left += barred
        return barred

    @staticmethod
    def _line(cursor):
        """Where a change of it stands: that of a binary operator where the operator does."""
        binary = cursor.kind in (K.BINARY_OPERATOR, K.COMPOUND_ASSIGNMENT_OPERATOR)
        return (next(cursor.get_children()).extent.end if binary else cursor.extent.start).line

    def _compound_stmt(self, cursor):
        return self._splice(cursor, self._rewrite)

    def _decl_stmt(self, cursor):
        return self._splice(cursor, self._rewrite)

    def _var_decl(self, cursor):
        start, end = self._extent(cursor)
        if self._constant(cursor):
            return None
        if cursor.storage_class.name == "STATIC" and not self._hosted:
            self._leave(cursor)
            return self._splice(cursor, self._declaration)
        # Only what it is initialised with.
        match = re.compile(rb"[={(]").search(self._source, cursor.location.offset, end)
        if match is None:
            return None
        return self._splice(cursor, lambda child: self._rewrite(child) if self._extent(child)[0] >= match.start() else None,
                            (start, end))

    def _static_assert(self, _):
        return None

    def _type_alias_decl(self, _):
        return None

    def _enum_decl(self, _):
        return None

    def _struct_decl(self, cursor):
        return self._scope(cursor)

    def _lambda_expr(self, cursor):
        return self._splice(cursor, self._body)

    def _case_stmt(self, cursor):
        children = list(cursor.get_children())
        return self._splice(cursor, lambda child: None if child == children[0] else self._rewrite(child))

    def _if_stmt(self, cursor):
        children = list(cursor.get_children())
        if re.match(rb"if\s+constexpr", self._source[self._extent(cursor)[0]:]):
            return self._splice(cursor, lambda child: None if child == children[0] else self._rewrite(child))
        if children[0].kind == K.VAR_DECL and children[0].spelling and children[1].kind != K.DECL_STMT:
            return self._splice(cursor, lambda child: self._declared_condition(child) if child == children[0] else
                                self._rewrite(child))
        return self._with_condition(cursor, next(child for child in children if child.kind != K.DECL_STMT))

    def _declared_condition(self, cursor):
        """`if (T x = y)` becomes `if (T x = y; x)`, whose condition can be negated."""
        if self._is_barred(cursor):
            return self._rewrite(cursor)
        declaration = self._rewrite(cursor) or self._text(cursor)
        return f"{declaration}; {self._negated(cursor, cursor.spelling, cursor.spelling)}"

    def _with_condition(self, cursor, condition=None):
        condition = condition or next(cursor.get_children())
        return self._splice(cursor, lambda child: self._condition(child) if child == condition else self._rewrite(child))

    _while_stmt = _with_condition
    _conditional_operator = _with_condition

    def _do_stmt(self, cursor):
        return self._with_condition(cursor, list(cursor.get_children())[1])

    def _for_stmt(self, cursor):
        return self._splice(cursor, lambda child: self._condition(child) if self._between_semicolons(child) else
                            self._rewrite(child))

    def _between_semicolons(self, cursor):
        start, end = self._extent(cursor)
        return (cursor.kind.is_expression() and self._source[:start].rstrip().endswith(b";") and
                self._source[end:].lstrip().startswith(b";"))

    def _condition(self, cursor):
        """An expression that is taken for true or false: negated, unless its own operator will do."""
        if not cursor.kind.is_expression() or self._decides(cursor) or self._is_barred(cursor):
            return self._rewrite(cursor)
        return self._negated(cursor, self._rewrite(cursor) or self._text(cursor), self._short(cursor))

    def _negated(self, cursor, text, short):
        point = self._point()
        number = self._mutant(cursor, point, f"{short} -> !({short})")
        return self._expression(cursor, point, f"const bool tvqC = static_cast<bool>({text});",
                                f"{self._is(number)} ? !tvqC : tvqC")

    def _decides(self, cursor):
        while cursor.kind in (K.UNEXPOSED_EXPR, K.PAREN_EXPR):
            children = list(cursor.get_children())
            if len(children) != 1:
                return False
            cursor = children[0]
        if cursor.kind == K.UNARY_OPERATOR:
            return self._text(cursor).startswith("!")
        if cursor.kind == K.CALL_EXPR:
            return self._overloaded(cursor) in _OPPOSITES
        return cursor.kind == K.BINARY_OPERATOR and self._operator(cursor) in _LOGICAL + _COMPARISONS

    @staticmethod
    def _overloaded(cursor):
        """The operator that a call stands for; the name of the function, when it is an ordinary one."""
        return cursor.spelling.removeprefix("operator")

    def _call_expr(self, cursor):
        text = self._splice(cursor, self._rewrite)
        operator = self._overloaded(cursor)
        if operator not in _OPPOSITES or self._is_barred(cursor):
            return text
        point = self._point()
        # What is compared may be no value that can be copied: the result is changed, not the operator.
        number = self._mutant(cursor, point, f"{operator} -> {_OPPOSITES[operator]}", next(cursor.get_children()))
        return f"(gTvqHostReached[{point}] = 1, {self._is(number)} != static_cast<bool>({text}))"

    def _operator(self, cursor):
        left, right = (self._extent(child) for child in cursor.get_children())
        return re.sub(r"//.*|/\*.*?\*/|[\s()]", "", self._source[left[1]:right[0]].decode())

    def _binary_operator(self, cursor):
        operator = self._operator(cursor)
        children = list(cursor.get_children())
        if operator not in _OPERATORS or operator in ("+", "-") and self._difference(children):
            return self._splice(cursor, self._rewrite)
        rewrite = self._condition if operator in _LOGICAL else self._rewrite
        left, right = (rewrite(child) or self._text(child) for child in children)
        point = self._point()
        numbers = [(other, self._mutant(cursor, point, f"{operator} -> {other}", children[0]))
                   for other in _OPERATORS[operator]]
        if operator in _LOGICAL:
            switched = self._is(numbers[0][1])
            either = switched if operator == "&&" else f"!{switched}"
            return self._expression(cursor, point, f"const bool tvqL = static_cast<bool>({left}); const bool tvqO = {either};",
                                    f"(tvqO ? !tvqL : tvqL) ? static_cast<bool>({right}) : tvqO")
        choices = "".join(f"{self._is(number)} ? tvqL {other} tvqR : " for other, number in numbers)
        held = "auto" if all(child.type.get_canonical().kind in _SCALARS for child in children) else "auto&&"
        return self._expression(cursor, point, f"{held} tvqL = ({left}); {held} tvqR = ({right});",
                                f"{choices}tvqL {operator} tvqR")

    @staticmethod
    def _difference(children):
        """Whether these are two pointers, which nothing but - takes."""
        return all(child.type.get_canonical().kind == T.POINTER for child in children)

    def _compound_assignment_operator(self, cursor):
        operator = self._operator(cursor)
        target, value = (self._rewrite(child) or self._text(child) for child in cursor.get_children())
        point = self._point()
        other = _OPERATORS[operator][0]
        number = self._mutant(cursor, point, f"{operator} -> {other}", next(cursor.get_children()))
        return self._expression(cursor, point, f"auto tvqR = ({value});",
                                f"{self._is(number)} ? ({target} {other} tvqR) : ({target} {operator} tvqR)")

    def _unary_operator(self, cursor):
        child = next(cursor.get_children())
        start, end = self._extent(cursor)
        inner = self._extent(child)
        prefix = self._source[start:inner[0]].decode().rstrip("( \n")
        operator = prefix or self._source[inner[1]:end].decode().lstrip(") \n")
        if operator not in ("!", "++", "--"):
            # The address of a constant is no constant.
            address = operator == "&" and child.kind == K.DECL_REF_EXPR
            return None if address else self._splice(cursor, self._rewrite)
        text = self._rewrite(child) or self._text(child)
        if operator == "!":
            point = self._point()
            number = self._mutant(cursor, point, f"!{self._short(child)} -> {self._short(child)}")
            return self._expression(cursor, point, f"const bool tvqC = static_cast<bool>({text});",
                                    f"{self._is(number)} ? tvqC : !tvqC")
        point = self._point()
        other = _OPERATORS[operator][0]
        number = self._mutant(cursor, point, f"{self._short(cursor)} -> {self._short(cursor).replace(operator, other)}")
        forms = [f"{sign}{text}" if prefix else f"{text}{sign}" for sign in (other, operator)]
        # No statement in braces: what the prefix form yields may be assigned to.
        return f"(gTvqHostReached[{point}] = 1, {self._is(number)} ? {forms[0]} : {forms[1]})"

    # Constants.

    def _integer_literal(self, cursor):
        return self._changed_constant(cursor, self._text(cursor))

    _character_literal = _integer_literal
    _cxx_unary_expr = _integer_literal

    def _cxx_bool_literal_expr(self, cursor):
        text = self._text(cursor)
        return self._choice(cursor, text, ["false" if text == "true" else "true"])

    def _decl_ref_expr(self, cursor):
        declared = cursor.referenced
        if declared is None or not self._is_integer(cursor):
            return None
        named = declared.kind in (K.ENUM_CONSTANT_DECL, K.TEMPLATE_NON_TYPE_PARAMETER)
        if not named and (declared.kind != K.VAR_DECL or not self._constant(declared)):
            return None
        text = self._text(cursor)
        if cursor.type.get_canonical().kind == T.ENUM:
            scope, colons, name = text.rpartition("::")
            names = [child.spelling for child in declared.semantic_parent.get_children()]
            other = names[(names.index(name) + 1) % len(names)]
            return self._choice(cursor, text, [scope + colons + other]) if other != name else None
        return self._changed_constant(cursor, text)

    def _member_ref_expr(self, cursor):
        owner = cursor.referenced.semantic_parent if cursor.referenced is not None else None
        if owner is not None and owner.get_usr() in self._rows:
            if self._is_integer(cursor) and cursor.type.get_canonical().kind != T.ENUM:
                return self._changed_constant(cursor, self._text(cursor))
        # The object; template arguments would follow.
        children = list(cursor.get_children())
        return self._splice(cursor, lambda child: self._rewrite(child) if child == children[0] and
                            child.kind.is_expression() else None)

    def _macro(self, cursor, name):
        if name.startswith("EFI_") and self._is_status(name):
            others = [other for other in ("EFI_CRC_ERROR", "EFI_SUCCESS") if other != name]
            return self._choice(cursor, name, others)
        # The number of a source line means nothing, and errno is no constant.
        if name not in ("__LINE__", "errno") and self._is_integer(cursor) and cursor.type.get_canonical().kind != T.ENUM:
            return self._changed_constant(cursor, self._text(cursor))
        return None

    @staticmethod
    def _is_status(name):
        return re.fullmatch(r"EFI_(SUCCESS|UNSUPPORTED|ABORTED|NOT_\w+|OUT_OF_\w+|INVALID_\w+|BUFFER_TOO_SMALL|"
                            r"BAD_BUFFER_SIZE|ALREADY_STARTED|ACCESS_DENIED|WRITE_PROTECTED|DEVICE_ERROR|LOAD_ERROR|"
                            r"NO_\w+|MEDIA_CHANGED|VOLUME_\w+|INCOMPATIBLE_VERSION|COMPROMISED_DATA|END_OF_FILE|"
                            r"SECURITY_VIOLATION|CRC_ERROR|WARN_\w+)", name) is not None

    def _is_integer(self, cursor):
        return cursor.type.get_canonical().kind in _INTEGERS + (T.ENUM,)

    def _changed_constant(self, cursor, text):
        others = [f"({text} + 1)"]
        signs = ["+ 1"]
        if not re.fullmatch(r"0[uUlL]*|0x0+|'\\0'", text):
            others.append(f"({text} - 1)")
            signs.append("- 1")
        # Of the type that it was: overloaded functions and templates tell a character from a number.
        return f"static_cast<decltype({text})>{self._choice(cursor, text, others, signs)}"

    def _choice(self, cursor, text, others, signs=None):
        point = self._point()
        short = self._short(cursor)
        result = text
        for other, sign in zip(reversed(others), reversed(signs or others)):
            change = f"{short} -> {short} {sign}" if signs else f"{short} -> {sign}"
            result = f"{self._is(self._mutant(cursor, point, change))} ? {other} : {result}"
        return f"(gTvqHostReached[{point}] = 1, {result})"

    # Text.

    def _extent(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def _text(self, cursor):
        start, end = self._extent(cursor)
        return self._source[start:end].decode()

    def _short(self, cursor):
        return re.sub(r"\s+", " ", self._text(cursor))

    def _splice(self, cursor, rewrite, extent=None):
        """The text of a node with that of its children written anew."""
        start, end = extent or self._extent(cursor)
        pieces = []
        position = start
        for child in cursor.get_children():
            begin, stop = self._extent(child)
            if not self._here(child) or begin < position or stop > end:
                continue
            text = rewrite(child)
            if text is not None:
                pieces += [self._source[position:begin].decode(), text]
                position = stop
        return "".join(pieces) + self._source[position:end].decode()

    def _here(self, cursor):
        file = cursor.extent.start.file
        return file is not None and file.name == self._path and cursor.extent.end.file.name == self._path

    def _macros_of(self, unit):
        """The macros of this file, by where they begin and end."""
        return {self._extent(cursor): cursor.spelling for cursor in unit.cursor.get_children()
                if cursor.kind == K.MACRO_INSTANTIATION and self._here(cursor)}

    def _rows_of(self, cursor):
        """The types whose members are the constants of this file's tables: changed where they are read."""
        for child in cursor.get_children():
            if child.kind == K.NAMESPACE:
                yield from self._rows_of(child)
            elif child.kind == K.VAR_DECL and self._here(child) and self._constant(child):
                row = child.type.get_canonical()
                row = row.element_type if row.kind == T.CONSTANTARRAY else row
                if row.kind == T.RECORD:
                    yield row.get_declaration().get_usr()

    def _macro_at(self, cursor):
        """The name of the macro that the node is; empty for one that lies inside a macro."""
        extent = self._extent(cursor)
        if extent in self._macros:
            return self._macros[extent]
        inside = any(start <= extent[0] and extent[1] <= end for start, end in self._macros)
        return "" if inside else None

    # Points and mutants.

    def _point(self):
        self._points += 1
        return self._first + self._points - 1

    def _mutant(self, cursor, point, change, left=None):
        number = self._first + len(self.mutants) + 1
        location = left.extent.end if left is not None else cursor.extent.start
        code = self._lines[location.line - 1].strip()
        self.mutants.append(Mutant(number, point, self._name, location.line, code, change))
        return number

    @staticmethod
    def _is(number):
        return f"(gTvqHostMutant == {number})"

    def _expression(self, cursor, point, declarations, value):
        text = f"({{ gTvqHostReached[{point}] = 1; {declarations} {value}; }})"
        # The line ends between the operands stand behind them now.
        return text + "\n" * (self._text(cursor).count("\n") - text.count("\n"))


# What changes itself, not only what stands inside it.
_CHANGED = ("_binary_operator", "_compound_assignment_operator", "_unary_operator", "_decl_ref_expr", "_cxx_unary_expr",
            "_integer_literal", "_character_literal", "_cxx_bool_literal_expr", "_member_ref_expr")
