"""Parameters of the kinds that have a value, and a button."""

KINDS = """\
    parm { name "size" type float default { 1.5 } range { 0! 10! } }
    parm { name "t" type vector default { 1 2 3 } }
    parm { name "count" type integer default { 4 } }
    parm { name "on" type toggle default { 1 } }
    parm { name "mode" type ordinal default { "soft" }
        menu { "hard" "Hard" "soft" "Soft" "none" "None" } }
    parm { name "file" type string default { "$SHOT/a.pic" } }
    parm { name "note" type string default { "" } hidewhen "{ on == off }" disablewhen "{ mode == none }" }
    parm { name "press" type button }
"""
