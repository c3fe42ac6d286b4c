// Names that look like those of companions.
command
{
    name    names
    group {
        name    "folder"
        parm { name "tog.a"  label "A"  type string  required }
        parm { name "b"      label "B"  type color }
    }
    parm { name "tog.z"  label "Z"  type string  required }
}
