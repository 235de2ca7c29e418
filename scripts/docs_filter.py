#!/usr/bin/env python3
"""Turns the comments of a public header into what Doxygen reads; Doxygen calls it for each header.

A comment before a declaration is its text. Lines that are indented by two blanks more are rows, a name (or several) and
two blanks before what is said of it: parameters, error numbers, and "returns". A declaration takes the rows that fit
its own parameters, and those it has none of from, in this order, the function that "as with NAME" names, the section's
comment (the one that a blank line follows) and the comment at the head of the file. A comment stands for all
declarations up to the next blank line.
"""
import re
import sys

ROW = re.compile(r'^  ((?:[A-Z]+_[A-Z_]+|\w+(?= *,|  |$))(?:, \w+)*)(?:$| +(.*))')
ERROR = re.compile(r'^[A-Z]+_[A-Z_]+$')


class Doc:
    """What a comment says: its text, and (name, text) rows."""

    def __init__(self, comment):
        self.text, self.rows = [], []
        ended = False
        for line in comment:
            match = ROW.match(line)
            if match:
                names = match.group(1).split(', ')
                self.rows.append((names, [match.group(2) or '']))
            elif self.rows and line.startswith('   '):
                self.rows[-1][1].append(line.strip())
            else:
                if self.rows and not ended:
                    self.text.append('')
                ended = bool(self.rows)
                self.text.append(line.strip())
        self.rows = [(names, ' '.join(text).strip()) for names, text in self.rows]
        # clang-format breaks lines that are too long, and takes the rows behind them along.
        for text in self.text + [text for _, text in self.rows]:
            if re.search(r'\S  ', text):
                sys.exit('rows run together: ' + text)

    def of(self, name):
        return [text for names, text in self.rows if name in names]

    def errors(self):
        return [name for names, _ in self.rows for name in names if ERROR.match(name)]


def direction(text):
    if re.match(r'in, out\b|in and out\b', text) or (re.match(r'in\b', text) and re.search(r'\bout:', text)):
        return 'in,out'
    return 'out' if re.match(r'out\b', text) else 'in'


def escaped(text):
    return re.sub(r'([@\\#<>&])', r'\\\1', text)


def parameters(declaration):
    inside = declaration[declaration.index('(') + 1:declaration.rindex(')')]
    return [] if inside.strip() in ('', 'void') else [re.search(r'(\w+)\s*$', part).group(1)
                                                      for part in inside.split(',')]


class Header:
    def __init__(self, text):
        self.lines = text.split('\n')
        self.at = 0
        self.out = []
        self.functions = {}
        self.head = self.section = Doc([])
        self.in_section = False

    def comment(self):
        """The comment that begins at this line, without its marks."""
        lines = []
        while True:
            line = self.lines[self.at]
            self.at += 1
            lines.append(re.sub(r'^\s*/?\*+ ?', '', re.sub(r'\s*\*/\s*$', '', line), count=1).rstrip())
            if '*/' in line:
                return lines

    def write(self, lines):
        self.out += ['/** ' + lines[0]] + [' * ' + line for line in lines[1:]] + [' */']

    def function(self, doc, declaration):
        name = re.search(r'(\w+)\(', declaration).group(1)
        sources = [doc]
        like = re.search(r'as with (\w+)', ' '.join(doc.text))
        if like and like.group(1) in self.functions:
            sources.append(self.functions[like.group(1)])
        sources += [self.section, self.head]
        full = Doc([])
        for parameter in parameters(declaration):
            for source in sources:
                if source.of(parameter):
                    full.rows.append(([parameter], source.of(parameter)[0]))
                    break
        for error in dict.fromkeys(error for source in reversed(sources) for error in source.errors()):
            texts = [text for source in sources for text in source.of(error)[:1]]
            alone = 1 if not texts[0].startswith('also') else 2
            full.rows.append(([error], '; '.join(reversed(texts[:alone]))))
        full.rows += [(['returns'], text) for text in doc.of('returns')]
        self.functions[name] = full
        lines = [escaped(line) for line in doc.text]
        for names, text in full.rows:
            if names == ['returns']:
                lines.append('@return ' + escaped(text))
            elif not ERROR.match(names[0]):
                way = direction(text)
                text = text if way == 'in,out' else re.sub(r'^(in|out): ', '', text)
                lines.append(f'@param[{way}] {names[0]} {escaped(text)}')
        errors = [row for row in full.rows if ERROR.match(row[0][0])]
        if errors:
            lines.append('@retval 0 it is done')
            lines += [f'@retval {names[0]} {escaped(text)}' for names, text in errors]
        self.write(lines)
        self.out += declaration.split('\n') + ['']

    def declarations(self, doc):
        """All up to the next blank line or comment."""
        while self.at < len(self.lines) and self.lines[self.at].startswith('ZERIX_API'):
            declaration = []
            while not declaration or not declaration[-1].endswith(';'):
                declaration.append(self.lines[self.at])
                self.at += 1
            self.function(doc, '\n'.join(declaration))

    def open_section(self, title):
        if self.in_section:
            self.out.append('/** @} */')
        self.in_section, self.section = True, Doc([])
        lines = ['@name ' + title]
        mark = self.at
        if self.lines[self.at].startswith('/*'):
            comment = self.comment()
            if self.lines[self.at].strip():
                self.at = mark
            else:
                self.section = Doc(comment)
                lines += [escaped(line) for line in self.section.text]
        self.write(lines + ['@{'])

    def inner(self, line):
        """Members: a comment behind one, or before it."""
        line = re.sub(r'^(\s*\S.*?\S)\s*/\* ', r'\1 /**< ', line) if not line.lstrip().startswith('/*') else line
        return re.sub(r'^(\s+)/\* ', r'\1/** ', line)

    def run(self):
        self.head = Doc(self.comment())
        self.write(['@file'] + [escaped(line) for line in self.head.text])
        while self.at < len(self.lines):
            line = self.lines[self.at]
            if line.startswith('/*'):
                comment = self.comment()
                title = re.match(r'-+ (.*?) -+$', comment[0])
                if title:
                    self.open_section(title.group(1))
                elif self.lines[self.at].startswith('ZERIX_API'):
                    self.declarations(Doc(comment))
                else:
                    self.write([escaped(text) for text in comment])
                continue
            if line.startswith('}') and self.in_section and self.lines[self.at - 1].startswith('#ifdef'):
                self.out.insert(len(self.out) - 1, '/** @} */')
                self.in_section = False
            self.out.append(self.inner(line))
            self.at += 1
        return '\n'.join(self.out)


print(Header(open(sys.argv[1], encoding='utf-8').read()).run())
