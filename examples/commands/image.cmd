// Command lines of two image tools. `zel command examples/commands/image.cmd` lists them.

command
{
    name    resize
    label   "Resize a Picture"
    icon    "PICTURE_resize"
    help    {
        "Makes a picture larger or smaller."
        "Without -s the size stays and only the file changes."
    }
    default { "resize -q 90 in.pic out.pic" }

    group {
        name    "size"
        label   "Size"
        parm { name "scale"  label "Scale"   option "-s"  type float  size 2  default { 1 1 } }
        parm { name "fit"    label "Fit"     option "-f"  type ordinal
               menu { "inside" "Keep All of It"  "fill" "Fill the Frame"  "none" "Neither" } }
        parm { name "filter" label "Filter"  option "-r"  type string  default { "gauss" }
               menureplace { "box" "Box"  "gauss" "Gauss" } }
    }
    group {
        name    "colour"
        label   "Colour"
        parm { name "background" label "Background"  option "-b"  type color  default { 0 0 0.25 } }
        parm { name "offset"     label "Offset"      option "-o"  type vector }
        parm { name "gamma"      label "Gamma"       option "-g"  type float  default { "$GAMMA" } }
    }
    parm { name "quality" label "Quality"    option "-q"  type int    default { 75 }  required }
    parm { name "verbose" label "Say More"   option "-v"  type toggle }
    parm { name "note"    label "Comment"    option "-c"  type string }
    parm { name "in"      label "From"       type image   required }
    parm { name "out"     label "To"         type image   required }
}

command
{
    name    sheet
    label   "Contact Sheet"
    parm { name "columns" label "Columns"  option "-n"  type integer  default { 4 }  range { 1! 20 } }
    parm { name "gap"     label "Gap"      option "-d"  type angle    default { 10 } }
    multiparm {
        name    "pictures"
        label   "Pictures"
        parm { name "picture#" label "Picture #"  type image }
    }
    parm { name "out"     label "To"       type image }
    parm { name "title"   label "Title"    type string }
}
