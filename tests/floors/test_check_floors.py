"""The check of the floors finds what it is there to find."""
import tempfile
import unittest
from pathlib import Path

from check_floors import Check, read_map

MAP = """library zelhost
floor
room KIT host/KIT
source host/KIT/KIT_Text.cpp
library ZEL
floor
room low ZEL/low
source ZEL/low/ZEL_Low.cpp
header ZEL/ZEL_Low.h
knot
room first ZEL/first
source ZEL/first/ZEL_First.cpp
header ZEL/ZEL_First.h
uses low
uses second
room second ZEL/second
header ZEL/ZEL_Second.h
uses first
"""

GOOD = {
    'host/KIT/KIT_Text.h': '',
    'host/KIT/KIT_Text.cpp': '#include <KIT/KIT_Text.h>\n',
    'ZEL/ZEL_Low.h': '#include <KIT/KIT_Text.h>\n',
    'ZEL/low/ZEL_Low.cpp': '#include <ZEL/ZEL_Low.h>\n',
    'ZEL/ZEL_First.h': '',
    'ZEL/first/ZEL_First.cpp': '#include <ZEL/ZEL_Low.h>\n#include <ZEL/ZEL_Second.h>\n',
    'ZEL/ZEL_Second.h': '#include <ZEL/ZEL_First.h>\n',
    'ZEL/second/ZEL_SecondPrivate.h': '',
}


def faults(changed=None, room_map=MAP):
    with tempfile.TemporaryDirectory() as folder:
        root = Path(folder)
        for name, text in {**GOOD, **(changed or {})}.items():
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            (root / name).write_text(text)
        (root / 'rooms.txt').write_text(room_map)
        return Check(root, read_map(root / 'rooms.txt')).run()


class Floors(unittest.TestCase):
    def assert_one(self, found, *words):
        self.assertTrue(any(all(word in fault for word in words) for fault in found), found)

    def test_nothing_is_wrong_with_a_good_tree(self):
        self.assertEqual(faults(), [])

    def test_includes_that_go_up(self):
        up = {'ZEL/low/ZEL_Low.cpp': '\n#include <ZEL/ZEL_First.h>\n'}
        self.assert_one(faults(up), 'ZEL/low/ZEL_Low.cpp:2', 'does not name first')
        said = MAP.replace('header ZEL/ZEL_Low.h', 'header ZEL/ZEL_Low.h\nuses first')
        self.assert_one(faults(up, said), 'ZEL/low/ZEL_Low.cpp:2', 'on a floor above low')
        self.assert_one(faults(up, said), 'rooms in a cycle')
        self.assert_one(faults({'host/KIT/KIT_Text.cpp': '#include <ZEL/ZEL_Low.h>\n'}),
                        'KIT_Text.cpp:1', 'of ZEL')

    def test_headers_of_a_knot(self):
        back = {'ZEL/ZEL_First.h': '#  include <ZEL/second/ZEL_SecondPrivate.h>\n'}
        self.assert_one(faults(back), 'ZEL/ZEL_First.h:1', 'headers of first come before')
        cycle = {'ZEL/ZEL_First.h': '#include <ZEL/ZEL_Second.h>\n'}
        self.assert_one(faults(cycle), 'headers in a cycle')

    def test_rooms_that_say_what_is_not_so(self):
        self.assert_one(faults({'ZEL/first/ZEL_First.cpp': '#include <ZEL/ZEL_Second.h>\n'}),
                        'first names low under USES')
        self.assert_one(faults({'ZEL/second/ZEL_Stray.cpp': ''}), 'ZEL_Stray.cpp belongs to no room')
        self.assert_one(faults({'ZEL/ZEL_Low.h': '#include <ZEL/ZEL_Gone.h>\n'}), 'header of no room')
        self.assert_one(faults({'ZEL/none/ZEL_None.cpp': ''}), 'ZEL/none is a room on no floor')
        self.assert_one(faults({'ZEL/low/ZEL_Low.cpp': '#include "../ZEL_First.h"\n'}),
                        'ZEL_Low.cpp:1', 'without its room')
        self.assert_one(faults(None, MAP + 'header ZEL/ZEL_Low.h\n'), 'in two rooms')


if __name__ == '__main__':
    unittest.main()
