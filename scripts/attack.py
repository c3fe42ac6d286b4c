#!/usr/bin/env python3
"""Runs the tool on inputs that ask for more than they are worth, and prints what exceeds the limits.

    attack.py ZEL [NAME...]

A row of the table has a name, the files that it makes, and the calls on them. A name in braces is one of
the row's files; OUT is a file that may be written. The main file of a script has the calls on scripts.
A call exceeds the limits if it takes over 2 s of processor time (20 s if it only waits), or 500 MB, or ends
by a signal. The inputs have at most 100 kB, devices and pipes aside.
"""
import concurrent.futures
import json
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

SECONDS = 2.0
WAIT = 20.0
BYTES = 500 * 10**6
MOST = 100 * 1000
LIMITS = ["--as=4294967296", "--cpu=3", "--core=0"]  # the machine stays usable, whatever a call does


# ------------------------------------------------------------------------------------------------------- #
# Inputs
# ------------------------------------------------------------------------------------------------------- #

def page(body):
    return "{\n name a\n" + body + "\n}\n"


def parm(name, words="type float"):
    return f'parm {{ name "{name}" {words} }}\n'


def text_default(text, kind=""):
    text = text.replace("\\", "\\\\").replace('"', '\\"')
    return f'default {{ [ "{text}" {kind} ] }}' if kind else f'default {{ "{text}" }}'


def block(name, count, body, kind="multiparm"):
    return f"{kind} {{ name {name} default {count}\n{body}}}\n"


def stream(body):
    return "{\nversion 0.8\n" + body + "}\n"


def entry(name, value):
    return f"{name}\t[ 0\tlocks=0 ]\t(\t{value}\t)\n"


def fill(make, size=MOST - 1000):
    """make(0) + make(1) + ... up to that size."""
    parts, length = [], 0
    while True:
        part = make(len(parts))
        if length + len(part) > size:
            return "".join(parts)
        parts.append(part)
        length += len(part)


def chain(count, kind, step, last="1"):
    """Parameters p0 to p<count>; each is step(the next one's name), the last a value."""
    rows = [parm(f"p{i}", f"type {kind} " + step(f"p{i + 1}")) for i in range(count)]
    return page("".join(rows) + parm(f"p{count}", f'type {kind} default {{ "{last}" }}'))


def section(name, text):
    return f'section "{name}"\n' + "".join(f"\t{line}\n" for line in text.splitlines()) + "end\n"


def node(path, more=""):
    return section(f"node {path}", 'type "t"\n' + more)


def noise(size, seed=1):
    return bytes(random.Random(seed).getrandbits(8) for _ in range(size))


def channels(body):
    return "channels 1.0\n{\n" + body + "}\n"


SCRIPT_CALLS = [
    "check {script}", "check --no-scripts {script}", "lint {script}", "show {script}", "show --json {script}", "eval {script}",
    "eval {script} --threads 2", "state {script}", "rewrite {script}", "command {script}",
    "format --sort {script} -o OUT", "format --diff {script}",
    "convert {script} {none} OUT --to binary", "diff {script} {none} {none}",
    "ramp {script} m --svg OUT", "shell {script} < {lines}",
    "preset save Node attack x {script}", "preset apply Node attack x {script}", "lsp < {served}",
    "doc {script} -o OUT", "stats {script}", "explain {script} *", "explain {script} * --graph",
    "set {script} --set p=2 -o OUT",
]
VALUE_CALLS = [
    "eval {script} --values {values}", "state {script} --values {values}",
    "convert {script} {values} OUT --to binary", "convert {script} {values} OUT --to text",
    "diff {script} {values} {none}", "shell {script} < {load}",
    "preset save Node attack x {script} --values {values}", "cat {values} --script {script}",
    "merge {script} {none} {values} {none} -o OUT",
]
SCENE_CALLS = ["scene {scene}", "scene {scene} --convert OUT", "scene {scene} --convert OUT --binary",
               "stats {scene}", "check {scene}", "lint {scene}", "show --json {scene}", "doc {scene} -o OUT", "cat {scene}",
               "merge {scene} {scene} {scene} -o OUT", "explain {scene} *", "set {scene} --set p=2 -o OUT"]
CHANNEL_CALLS = ["eval {script} --channels {channels}", "eval {script} --channels {channels} --frames 1:10",
                 "cat {channels}", "diff --patch {channels} {channels}", "merge {channels} {channels} {channels} -o OUT"]

LINES = ("list\ntree\nshow p\ntype p\nevents on\nset m 3\nundo\nredo\nset p 2\nsnapshot a\nrestore a\nmessages\n"
         "magic\ngraph clean\ntimedep\nenabled p\nmenu p\nsave text OUT\nspare list\nadopt {script}\nquit\n")

NUMBER = page(parm("p") + block("m", 1, parm("q#")) + parm("s", "type string"))
PYTHON = "default {{ [ \"{0}\" python ] }}".format


def rows():
    """(name, files, calls); the size of an input is that of its largest file."""
    out = []

    def script(name, text, calls=()):
        out.append((name, {"script": text}, SCRIPT_CALLS + list(calls)))

    def values(name, text, of=NUMBER):
        out.append((name, {"script": of, "values": text}, VALUE_CALLS))

    def keys(name, text, of=NUMBER):
        out.append((name, {"script": of, "channels": text}, CHANNEL_CALLS))

    def scene(name, script, text, head=""):
        sections = section("scene", "version 1.0\n" + head) + section("interface t", "text\n" + script)
        out.append((name, {"scene": "#STO_INDEX 1.0\n" + sections + text(MOST - 1000 - len(sections)) + "#END\n"},
                    SCENE_CALLS))

    # Parameters without a template or instance.
    script("base_parm", page(parm("p", "baseparm")))
    script("base_parms", page(fill(lambda i: parm(f"p{i}", "baseparm"))))

    # Counts, and what an item holds.
    script("count_size", page(block("m", 100000, parm("q#", "type float size 256"))))
    script("count_sizes", page(block("m", 10000, "".join(parm(f"q{i}_#", "size 10") for i in range(20)))))
    script("count_label", page(block("m", 10000, parm("q#", f'label "{"L" * 90000}"'))))
    script("count_help", page(block("m", 100000, parm("q#", f'help "{"h" * 90000}"'))))
    script("count_name", page(block("m", 10000, parm("q#" + "n" * 90000))))
    script("count_default", page(block("m", 10000, parm("q#", f'type string default {{ "{"#d" * 45000}" }}'))))
    script("count_condition",
           page(block("m", 10000, parm("q#", 'disablewhen "' + "{ q# == 1 }" * 8000 + '"'))))
    script("count_menu", page(block("m", 100000, parm(
        "q#", "type ordinal menu { " + "".join(f'"t{i}" "l" ' for i in range(8000)) + "}"))))
    script("count_nested", page(block("m", 100000, block("n#", 100000, parm("q#_#")))))
    script("count_deep", page("".join(f"multiparm {{ name m{'#' * i} default 10\n" for i in range(6)) +
                              parm("q" + "#" * 6) + "}" * 6))
    script("count_ramps", page(block("m", 100000, parm("r#", "type ramp_flt default { 10 }"))))
    script("count_ramps_most", page(block("m", 50000, parm("r#", "type ramp_flt default { 10 }"))))
    script("count_ramp", page(parm("m", "type ramp_rgb default { 1000000 }")))
    script("count_empty", page(block("m", 2000000000, "")))
    script("count_blocks", page(fill(lambda i: block(f"m{i}", 100000, parm(f"q{i}_#")))))
    script("count_driven", page(parm("c", "default { 100000 }") +
                                block("m", '[ "ch(\\"c\\")" expression ]', parm("q#"))))
    script("count_driven_items", page(block("m", 100000, parm("q#", text_default("ch('p')+$F", "expression")))))
    script("count_sets", NUMBER, [f"eval {{script}} --set m={n}" for n in ("1e9", "2147483647", "100000", "-1e300")])
    script("count_sets_size", page(block("m", 0, parm("q#", "size 256"))),
           [f"eval {{script}} --set m={n}" for n in ("1e9", "100000")])
    wide = page(block("m", 0, parm("q#", "size 256")))
    values("stream_count", stream(entry("m", 100000)), wide)
    values("stream_count_huge", stream(entry("m", "1e18")))
    values("stream_names", stream(fill(lambda i: entry(f"q{100000 - i}", 1))))
    values("stream_waves", stream(fill(lambda i: entry("m", 5000) + entry("m", 0))))
    values("stream_waves_ramps", stream(fill(lambda i: entry("m", 5000) + entry("m", 0))),
           page(block("m", 0, parm("r#", "type ramp_flt"))))
    values("stream_waves_driven", stream(fill(lambda i: entry("m", 5000) + entry("m", 0))),
           page(block("m", 0, parm("q#", text_default("$F+1", "expression")))))
    many = page(fill(lambda i: block(f"m{i}", 10, parm(f"q{i}_#"))))
    values("stream_fewer", stream(fill(lambda i: entry(f"m{i}", 1))), many)
    values("stream_fewer_more", stream(fill(lambda i: entry(f"m{i // 2}", 1 + 4 * (i % 2)))), many)
    values("stream_names_blocks", stream(fill(lambda i: f"q{i}_20 ( 1 )\n")), many)
    values("stream_names_alike", stream(fill(lambda i: "q5 ( 1 )\n")),
           page(fill(lambda i: block(f"m{i}", 0, parm(f"q#{i}x")))))
    values("stream_names_nested", stream(fill(lambda i: f"x{i % 3000 + 1}y ( 1 )\n")),
           page(block("m", 3000, block("w#", 1, parm("x#_#")))))
    values("stream_two_blocks", stream(entry("m", 50000) + entry("n", 49000) + entry("m", 0) + entry("n", 0)),
           page(block("m", 0, parm("q#")) + block("n", 0, parm("r#"))))
    values("stream_late_keys",
           stream(entry("m", 10000) + fill(lambda i: entry(f"r{i + 1}", 3)) + entry("m", 0)),
           page(block("m", 0, parm("r#", "type ramp_flt"))))

    # Values that refer to themselves and to each other.
    for count in (30, 300, 6000):
        script(f"self_text_{count}", page(parm("s", "type string " + text_default('`chs("s")`' * count))))
    script("self_strcat", page(parm("s", "type string " + text_default(
        "strcat(chs('s'),chs('s'))".replace("'", '"'), "expression"))))
    script("long_strcat", chain(200, "string", lambda n: text_default(
        f'`strcat(chs("{n}"),chs("{n}"))`'), "x" * 1000))
    script("double_text", chain(60, "string", lambda n: text_default(f'`chs("{n}")``chs("{n}")`'), "xx"))
    script("double_number", chain(60, "float", lambda n: text_default(f'ch("{n}")+ch("{n}")', "expression")))
    script("double_python", chain(60, "float", lambda n: PYTHON(f"vmr.ch('{n}')+vmr.ch('{n}')")))
    script("self_python", page(parm("p", PYTHON("vmr.ch('p')+vmr.ch('p')"))))
    script("long_chain", chain(1200, "float", lambda n: text_default(f'ch("{n}")', "expression")))
    script("mistakes_line", "{ name a " + fill(lambda i: "parm { name p zork { 1 } } ") + "}")
    script("mistakes_flat", page(fill(lambda i: f"parm {{\nnaem p{i}\ntype flaot\n}}\n")))
    script("mistakes_one_block", page("parm { name p " + fill(lambda i: f"zork{i} 1\n") + "}"))
    script("mistakes_no_braces", page("parm { name p " + fill(lambda i: "range ") + "}"))
    script("mistakes_open_texts", page(fill(lambda i: f'label "a{i} help "b\n')))
    script("mistakes_surplus", page(fill(lambda i: f"parm {{ name p{i} }} }}\n")))
    script("mistakes_endifs", page(fill(lambda i: "#endif\n")))
    script("mistakes_then_texts", page("zork\n" + fill(lambda i: '"a" ')))
    script("holes", page(parm("s", "type string " + text_default("`1/0`" * 15000))))
    script("many_texts", page(fill(lambda i: parm(f"s{i}", "type string " + text_default(
        f'`chs("s{i + 1}")`' * 3)))))
    script("long_expression", page(parm("p", text_default("1" + "+1" * 30000, "expression"))))
    script("deep_expression", page(parm("p", text_default("(" * 40000 + "1" + ")" * 40000, "expression"))))
    script("wide_call", page(parm("p", text_default("max(" + "1," * 40000 + "1)", "expression"))))
    script("big_substr", page(parm("s", "type string " + text_default(
        '`substr("x",0,1e9)`' + '`itoa(1e300)`' * 5000))))

    # Conditions and regular expressions.
    pattern = "(a|b){1000}" * 3
    script("regex_repeat", page(block("m", 1000, parm("q#", f'disablewhen "{{ q# =~ {pattern} }}"'))))
    script("regex_numbered", page(block("m", 1000, parm(
        "q#", f'type string disablewhen "{{ q# =~ (x#|y){{900}}{pattern} }}"'))))
    script("regex_many", page(fill(lambda i: parm(f"p{i}", f'disablewhen "{{ p{i} =~ (a{i}|b){{1000}} }}"'))))
    script("regex_long", page(parm("p", 'disablewhen "{ p =~ ' + "(a|b)*" * 15000 + ' }"')))
    script("conditions", page(parm("p", 'disablewhen "' + "{ p == 1 }" * 9000 + '"')))
    script("condition_text", page(parm("s", "type string " + text_default('`chs("s")`' * 50)) +
                                  fill(lambda i: parm(f"p{i}", 'hidewhen "{ s == x }"'), 60000)))

    # What is judged: words, choices times comparisons, names that aren't there, one long line, edits that wait.
    script("judged_words", f"#define A {'x ' * 40000}\n" + page("code { " + "A " * 200 + "}"))
    script("judged_choices", page(parm("p", "type ordinal menu { " + "".join(f"m{i} M " for i in range(3000)) + "}")
           + parm("q", 'hidewhen "' + "".join(f"{{ p == m{i} }}" for i in range(3000)) + '"')))
    script("judged_names", page(fill(lambda i: parm(f"p{i}", f'hidewhen "{{ q{i} == 1 }}"'))))
    script("judged_line", page(fill(lambda i: parm(f"p{i}").replace("\n", " "))))
    script("judged_twins", fill(lambda i: 'parm { name "a" type flaot } '))
    script("judged_silence", page("// " + fill(lambda i: "zel-lint: ") + "\n" + parm("p", "size x")))
    script("judged_edits", page(parm("p", fill(lambda i: "nolabel ") + "type float")), ["lint {script} --fix"])
    script("judged_order", page(fill(lambda i: parm(f"p{i}", "nolabel joinnext default { 1 2 } type float"))),
           ["lint {script} --fix"])
    # Included files and macros.
    def included(name, files, calls=()):
        out.append((name, files, SCRIPT_CALLS + list(calls)))

    included("judged_includes", {"script": fill(lambda i: '#include "u"\n', 90000) + page(""),
                                 "u": fill(lambda i: f"#define Z{i} 1\n", 2000)})
    included("include_repeated", {"script": page('#include "big.dsh"\n' * 4000), "big.dsh": "// " + "x" * 53000})
    included("include_parms", {"script": page('#include "big.dsh"\n' * 2000),
                               "big.dsh": fill(lambda i: parm(f"p{i}"), 53000)})
    included("include_doubles", dict(
        {"script": page('#include "i0"\n')},
        **{f"i{i}": f'#include "i{i + 1}"\n' * 2 for i in range(40)}, i40="\n"))
    included("include_chain", dict(
        {"script": page('#include "i0"\n')}, **{f"i{i}": f'#include "i{i + 1}"\n' for i in range(100)}, i100="\n"))
    included("include_self", {"script": page('#include "script"\n' * 4000)})
    script("include_devices", page("".join(f'#include "/dev/{d}"\n' for d in ("zero", "urandom", "tty", "stdin"))))
    script("include_outside", page('#include "../../../../etc/passwd"\n' * 2000))
    script("macro_doubles", "".join(f"#define A{i} A{i + 1} A{i + 1}\n" for i in range(60)) + page("A0"))
    script("macro_long", f"#define A {'x ' * 40000}\n" + page("A " * 5000))
    script("macros", fill(lambda i: f"#define A{i} 1\n") + page("A1"))
    script("if_nested", "#if 1\n" * 16000)
    script("if_long", "#if 1" + "+1" * 45000 + "\n#endif\n" + page(""))

    # Nesting, names, and what only is long.
    script("groups", page("group { name g\n" * 6000))
    script("blocks", page("multiparm { name m#\n" * 4000))
    script("braces", "{" * 99000)
    script("brackets", page(parm("p", "default { " + "[ " * 40000 + "}")))
    script("parms", page(fill(lambda i: parm(f"p{i}"))))
    script("same_names", page(fill(lambda i: parm("p"))))
    script("long_name", page(parm("n" * 98000)))
    script("long_names", page(fill(lambda i: parm(f"{i}" + "n" * 3000))))
    script("long_menu", page(parm("p", "type ordinal menu { " + fill(lambda i: f"t{i} l ") + "}")))
    script("long_label", page(parm("p", f'label "{"L" * 98000}"')))
    script("one_token", "x" * 99000)
    script("one_quote", '"' * 99999)
    script("backslashes", page(parm("s", 'type string default { "' + "\\" * 90000 + '" }')))
    script("comments", "/*" * 49000)
    script("folders", page(fill(lambda i: f"groupcollapsible {{ name g{i} " + parm(f"p{i}") + "}\n")))
    script("size", page(parm("p", "size 256")) + "x" * 90000)
    script("sizes", page(fill(lambda i: parm(f"p{i}", "size 256"))))
    script("ranges", page(parm("p", "range { -1e400! 1e400! } default { nan }") * 1000))
    script("tags", page(parm("p", 'parmtag { "a" "b" } ' * 4500)))
    script("python_menu", page(parm("p", 'type ordinal menu { [ "return [\'x\'] * 10" ] language python }') * 900))

    # Bytes.
    script("controls", page("".join(parm(f"t\x1b[{i}m", 'label "\x1b]0;x\x07" menu { "\x1b[2J" "\x9b" }')
                                    for i in range(500))))
    script("mark", "\ufeff" + page(parm("p")))
    script("marks", "\ufeff" * 33000)
    script("nuls", page(parm("p")).replace(" ", "\0") + "\0" * 90000)
    script("noise", noise(99000))
    script("line_ends", page(parm("p")).replace("\n", "\r\n") + "\r" * 90000)
    values("values_noise", noise(99000))
    values("values_nuls", b"\0" * 99000)
    values("values_length", b"\x00\x00\x02\x00\xff\xff\xff\x7f" + b"\xff" * 9000)
    values("values_parens", stream("p " + "( " * 45000))
    values("values_many", stream(entry("p", "1 " * 45000)))
    values("values_options", stream("p\t[ " + "locks=1 " * 12000 + "]\t(\t1\t)\n"))
    values("values_repeated", stream(fill(lambda i: entry("p", i))))
    values("values_unknown", stream(fill(lambda i: entry(f"u{i}", i))))
    values("values_mark", "\ufeff" + stream(entry("p", 2)))
    values("values_text", stream(entry("s", '"' + "`chs(\\\"s\\\")`" * 5000 + '"')))
    json = page(parm("d", "type keyvaluedict"))
    values("json_deep", stream(entry("d", "'" + "[" * 90000 + "'")), json)
    values("json_wide", stream(entry("d", "'{" + ",".join(f'\"k{i}\":1' for i in range(9000)) + "}'")), json)

    # Channels.
    keys("channels_many", channels(fill(lambda i: f"channel c{i} {{ key 0 {i} linear() }}\n")))
    keys("channels_keys", channels("channel p {\n" + fill(lambda i: f"key {i} {i} cubic()\n") + "}\n"))
    keys("channels_same_time", channels("channel p {\n" + fill(lambda i: "key 0 1 linear()\n") + "}\n"))
    keys("channels_expression", channels("channel p { key 0 0 " + "(" * 60000 + " }\n"))
    keys("channels_self", channels('channel p { key 0 0 "' + "ch(\\\"p\\\")+" * 4000 + '1" }\n'))
    keys("channels_name", channels("channel " + "n" * 90000 + " { key 0 1 linear() }\n"))
    keys("channels_noise", noise(99000))
    keys("channels_mark", "\ufeff" + channels("channel p { key 0 1 linear() }\n"))
    keys("channels_open", channels("{ " * 45000))

    # Scenes.
    def nodes(size):
        return fill(lambda i: node(f"/{i}"), size)

    scene("scene_parms", page(fill(lambda i: parm(f"p{i}"), 40000)), nodes)
    scene("scene_sizes", page(fill(lambda i: parm(f"p{i}", "size 256"), 40000)), nodes)
    scene("scene_items", page(block("m", 1000, parm("q#"))), nodes)
    scene("scene_names", NUMBER, lambda size: fill(lambda i: node(f"/{'n' * 500}{i}"), size))
    scene("scene_levels", NUMBER, lambda size: fill(lambda i: node("/a" * (i + 1)), size))
    scene("scene_variables", page(fill(lambda i: parm(f"p{i}", 'type string default { "$A" }'), 20000)),
          lambda size: fill(lambda i: node(f"/{i}", f'variable "V{i}" "1"\n'), size),
          fill(lambda i: f'variable "W{i}" "1"\n', 40000))
    scene("scene_counts", page(block("m", 2, parm("q#"))), lambda size: fill(
        lambda i: node(f"/{i}") + section(f"channels /{i}", channels(
            f'channel m {{ key 0 0 "ch(\\"../{i * 7919 % 300}/m\\")+1" }}')) +
        section(f"values /{i}", stream(entry("m", "[ m 2 ]") + entry("q1", 3))), size))

    # Patches, merges, maps, and what an editor sends.
    def patch(name, text, state=stream(entry("p", 1))):
        out.append((name, {"script": NUMBER, "state": state, "patch": text},
                    [f"patch {{script}} {{state}} {{patch}} {way}-o OUT" for way in ("", "--reverse ")]))

    def edits(edit):
        return ('{"format":"zel difference","version":1,"exact":true,"edits":[' +
                ",".join(fill(lambda i: edit(i) + "\n", MOST - 2000).splitlines()) + "]}")

    patch("patch_deep", '{"format":' + "[" * 90000)
    patch("patch_noise", noise(99000))
    def changed(i, verb="changed", values='"old":1.0,"new":2.0', more=""):
        return (f'{{"kind":"value","verb":"{verb}","address":"u{i}","path":[["parm","u{i}"],{more}["value","0"]],'
                f'{values}}}')

    patch("patch_edits", edits(changed))
    patch("patch_same", edits(lambda i: changed(0)))
    patch("patch_added", edits(lambda i: changed(i, "added", '"new":1.0')))
    patch("patch_path", edits(lambda i: changed(i, more='["item","0"],' * 200)))
    patch("patch_state", edits(lambda i: changed(i, values=f'"old":{i}.0,"new":-1.0')),
          stream(fill(lambda i: entry(f"u{i}", i))))

    def merge(name, base, ours, theirs, of=NUMBER):
        out.append((name, {"script": of, "base": base, "ours": ours, "theirs": theirs}, [
            "merge {script} {base} {ours} {theirs} -o OUT", "merge {script} {base} {ours} {theirs} -o OUT --json",
            "merge {script} {base} {ours} {theirs} -o OUT --theirs *", "diff --patch {script} {ours} {theirs}"]))

    merge("merge_conflicts", stream(""), *[stream(fill(lambda i: entry(f"u{i}", f"{side}{i}"))) for side in (1, 2)])
    items = page(block("m", 0, parm("q#")))
    merge("merge_items", stream(entry("m", 3)), *[stream(entry("m", 4000) + fill(
        lambda i: entry(f"q{i + 1}", (i * step) % 4001), 90000)) for step in (7919, 104729)], of=items)
    merge("merge_order", *[stream(fill(lambda i: entry(f"u{i * step % 4001}", i), 90000)) for step in (1, 7919, 104729)])
    merge("merge_noise", noise(99000), noise(99000, 2), noise(99000, 3))
    merge("merge_keys", *[channels("channel p {\n" + fill(lambda i: f"key {i * step} {i} cubic()\n") + "}\n")
                          for step in (1, 2, 3)])

    def migration(name, text, of=NUMBER):
        out.append((name, {"script": of, "values": stream(entry("p", 1)), "map": text}, [
            "migrate {script} {script} {values} --map {map} -o OUT", "migrate {values} --map {map} -o OUT",
            "migrate --check --map {map}"]))

    head = "migration 1.0\nversion 1 script\nversion 2 script\n"
    migration("map_steps", head + fill(lambda i: f"rename p{i} q{i}\n"))
    migration("map_chain", head + fill(lambda i: f"rename p{i} p{i + 1}\n"))
    migration("map_versions", "migration 1.0\n" + fill(lambda i: f"version {i} script\n"))
    migration("map_split", head + "split p " + fill(lambda i: f"q{i} ") + "\n")
    migration("map_tests", head + fill(lambda i: f"test t{i}\nset p {i}\nexpect p {i}\nend\n"))
    migration("map_items", head + fill(lambda i: f"rename q# r{i}#\n"), items)
    migration("map_renames", fill(lambda i: f"p{i} q{i}\n"))
    migration("map_line", head + "rename " + "p" * 90000 + "\n")
    migration("map_noise", noise(99000))

    def editor(name, text):
        out.append((name, {"sent": text}, ["lsp < {sent}"]))

    def frame(text, length=None):
        return f"Content-Length: {len(text) if length is None else length}\r\n\r\n{text}"

    begin = frame('{"jsonrpc":"2.0","id":0,"method":"initialize","params":{"capabilities":{}}}')
    for name, length in (("long", 10**12), ("negative", -1), ("none", ""), ("short", 3), ("overflow", 2**64 + 5)):
        editor(f"lsp_length_{name}", begin + fill(lambda i: frame('{"id":1}', length)))
    editor("lsp_heads", begin + fill(lambda i: f"X{i}: y\r\n"))
    editor("lsp_deep", begin + frame('{"jsonrpc":"2.0","id":1,"method":"x","params":' + "[" * 90000))
    editor("lsp_noise", noise(99000))
    opened = '"textDocument":{"uri":"file:///a.ds","version":1'
    editor("lsp_changes", begin + frame(f'{{"jsonrpc":"2.0","method":"textDocument/didOpen","params":{{{opened},"text":""}}}}}}')
           + frame(f'{{"jsonrpc":"2.0","method":"textDocument/didChange","params":{{{opened}}},"contentChanges":[' +
                   ",".join(['{"range":{"start":{"line":0,"character":0},"end":{"line":0,"character":0}},"text":"{ "}'] * 900)
                   + "]}}"))
    editor("lsp_requests", begin + fill(lambda i: frame(
        f'{{"jsonrpc":"2.0","id":{i},"method":"textDocument/hover","params":{{{opened}}},"position":{{"line":{i},"character":9}}}}}}')))

    # Commands, presets, devices and pipes.
    command = "command\n{\n name c\n default { \"c\" }\n" + fill(lambda i: parm(f"p{i}", f'option "-{i}"'), 90000) + "}\n"
    out.append(("commands", {"script": command}, ["command {script}", "command {script} c", "command --json {script}"]))
    out.append(("command_many", {"script": fill(lambda i: f"command {{ name c{i} }}\n")},
                ["command {script}", "command {script} c9"]))
    out.append(("command_mistakes", {"script": fill(lambda i: f"command {{ nmae c{i} parm {{ name p }}\n")},
                ["command {script}"]))
    out.append(("menu_lines", {"FBres": fill(lambda i: "a \"b\" 'c' \"\n")}, ["check {FBres}"]))
    out.append(("command_line", {"script": "command { name c " + parm("p", 'option "-p"') + "}\n"},
                ["command {script} " + "-p1" * 30000]))
    index = "#STO_INDEX 1.0\n" + fill(lambda i: f'section "s{i}"\n\tx\nend\n') + "#END\n"
    calls = ["preset list Node attack", "preset show Node attack s1", "preset apply Node attack s1 {script}",
             "preset save Node attack y {script}", "preset delete Node attack s2"]
    for name, text in (("presets", index), ("presets_mark", "\ufeff" + index), ("presets_noise", noise(99000)),
                       ("presets_names", "#STO_INDEX 1.0\n" + 'section "\x1b[2J?%00/../"\n\tx\nend\n' * 3000)):
        out.append((name, {"script": NUMBER, "presets/Node/attack.idx": text}, calls))
    body = "#PSI_PRESET\nversion 2.0a\nvalues\n" + wide.replace(wide, stream(entry("m", 100000)))
    body += "channels\n" * 9000
    out.append(("preset_body", {"script": wide, "presets/Node/attack.idx":
                                "#STO_INDEX 1.0\nsection \"s1\"\n\t" + body.replace("\n", "\n\t") + "\nend\n#END\n"}, calls))
    out.append(("preset_lock", {"script": NUMBER, "presets/Node/attack.idx.lock": "fifo"}, calls))
    for device in ("/dev/zero", "/dev/urandom", "/dev/null", "/", "{none}", "{pipe}"):
        out.append((f"device {device}", {"script": NUMBER, "pipe": "fifo"}, [
            f"check {device}", f"show {device}", f"eval {{script}} --values {device}",
            f"eval {{script}} --channels {device}", f"convert {{script}} {device} OUT --to text",
            f"command {device}"]))
    return out


# ------------------------------------------------------------------------------------------------------- #
# Calls
# ------------------------------------------------------------------------------------------------------- #

def write(folder, files):
    """Makes the files; returns the size of the largest."""
    largest = 0
    for name, text in files.items():
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        if text == "fifo":
            os.mkfifo(path)
            continue
        data = text.encode("utf-8") if isinstance(text, str) else text
        largest = max(largest, len(data))
        with open(path, "wb") as file:
            file.write(data)
    return largest


def feed(path, done):
    """Writes to a pipe whenever somebody reads it."""
    while not done.is_set():
        try:
            pipe = os.open(path, os.O_WRONLY | os.O_NONBLOCK)
        except OSError:
            time.sleep(0.01)
            continue
        try:
            os.write(pipe, b"x " * 2000)
        except OSError:
            pass
        os.close(pipe)


def run(zel, folder, call):
    """What exceeds the limits; "" if nothing does."""
    words, _, source = call.partition(" < ")
    names = {name: os.path.join(folder, name) for name in os.listdir(folder)}
    names["OUT"] = os.path.join(folder, "OUT")
    argv = ["prlimit", *LIMITS, zel]
    for word in words.split(" "):
        argv.append(names["OUT"] if word == "OUT" else word.format(**names) if "{" in word else word)
    start = time.monotonic()
    with open(source.format(**names) if source else os.devnull, "rb") as lines:
        child = subprocess.Popen(argv, stdin=lines, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                 cwd=folder, env=dict(os.environ, ZEL_PATH=folder))
    timer = threading.Timer(WAIT, child.kill)
    timer.start()
    _, status, used = os.wait4(child.pid, 0)
    child.returncode = 0
    timer.cancel()
    seconds = used.ru_utime + used.ru_stime
    found = []
    if os.WIFSIGNALED(status):
        found.append(signal.Signals(os.WTERMSIG(status)).name)
    if seconds > SECONDS:
        found.append(f"{seconds:.1f} s")
    elif time.monotonic() - start > WAIT:
        found.append("waits")
    if used.ru_maxrss * 1024 > BYTES:
        found.append(f"{used.ru_maxrss // 1024} MiB")
    return ", ".join(found)


def served(folder, script):
    """What an editor sends that has a script open and asks for everything in its middle."""
    text = script.decode("utf-8", "replace") if isinstance(script, bytes) else script
    lines = text.split("\n")
    middle = {"line": len(lines) // 2, "character": len(lines[len(lines) // 2]) // 2}
    document = {"textDocument": {"uri": f"file://{folder}/script"}}
    messages = [{"id": 0, "method": "initialize", "params": {"capabilities": {}}},
                {"method": "textDocument/didOpen", "params": {"textDocument": {
                    **document["textDocument"], "version": 1, "text": text}}}]
    for i, method in enumerate(["completion", "hover", "definition", "references", "documentSymbol", "codeAction",
                                "formatting"]):
        messages.append({"id": i + 1, "method": "textDocument/" + method, "params": {
            **document, "position": middle, "context": {"includeDeclaration": True},
            "range": {"start": {"line": 0, "character": 0}, "end": middle}}})
    frames = b""
    for message in messages:
        body = json.dumps({"jsonrpc": "2.0", **message}).encode()
        frames += b"Content-Length: %d\r\n\r\n" % len(body) + body
    return frames


def attack(zel, row):
    name, files, calls = row
    folder = tempfile.mkdtemp(prefix="zel_attack_")
    done = threading.Event()
    lines = []
    try:
        size = write(folder, dict(files, none=stream("")))
        write(folder, {"lines": LINES.replace("{script}", os.path.join(folder, "script"))
                       .replace("OUT", os.path.join(folder, "OUT")),
                       "load": f"load {folder}/values\nlist\nundo\nredo\n"})
        if "script" in files:
            write(folder, {"served": served(folder, files["script"])})
        if size > MOST:
            lines.append(f"{name}: the input has {size} bytes")
        if "pipe" in files:
            threading.Thread(target=feed, args=(os.path.join(folder, "pipe"), done), daemon=True).start()
        for call in calls:
            found = run(zel, folder, call)
            if found:
                lines.append(f"{name} ({size} bytes): zel {call[:70]}: {found}")
    finally:
        done.set()
        shutil.rmtree(folder, ignore_errors=True)
    return len(calls), lines


def runs(zel):
    """Whether the tool starts at all; a call that can't start exceeds nothing."""
    try:
        done = subprocess.run(["prlimit", *LIMITS, zel, "--version"], stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=WAIT)
    except (OSError, subprocess.TimeoutExpired):
        return False
    return done.returncode == 0 and bool(done.stdout)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    zel, wanted = os.path.abspath(sys.argv[1]), sys.argv[2:]
    if not runs(zel):
        sys.exit(f"attack.py: {zel} --version can't be run")
    table = [row for row in rows() if not wanted or row[0].split()[0] in wanted]
    if not table:
        sys.exit(f"attack.py: no row is called {' or '.join(wanted)}")
    calls = failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for count, lines in pool.map(lambda row: attack(zel, row), table):
            calls += count
            failures += len(lines)
            for line in lines:
                print(line, flush=True)
    print(f"{len(table)} inputs, {calls} calls, {failures} exceed the limits")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
