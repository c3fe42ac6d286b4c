// A surface as RenderMan calls it: options in quotes, values in brackets.

command
{
    name    plastic
    label   "Plastic"
    rman
    default { "plastic \"Ks\" [0.4] \"Cs\" [1 0.5 0.25]" }

    parm { name "Ka"   label "Ambient"   option "Ka"    type float   default { 1 } }
    parm { name "Ks"   label "Specular"  option "Ks"    type float   default { 0.5 } }
    parm { name "Cs"   label "Colour"    option "Cs"    type color   default { 1 1 1 } }
    parm { name "dir"  label "Towards"   option "dir"   type direction  default { 0 0 1 } }
    parm { name "map"  label "Texture"   option "texturename"  type string }
    parm { name "matte"  label "Matte"   option "matte"  type toggle }
    parm { name "space"  label "Space"   type string  default { "object" }  required }
}
