"""Reads the #include lines of the rooms named in a room map and reports every arrow that the floors
don't allow.

    check_floors.py ROOT MAP

ROOT is the source root, MAP what zel_write_room_map of cmake/ZELRooms.cmake wrote. The rules:

- a room includes only rooms of its library that it names under USES, and names none that it doesn't
  include;
- what it names lies on a lower floor or beside it, and rooms of one floor don't include each other in
  cycles; on a floor that is a knot only headers are held to the order of its rooms;
- a library includes what it likes of those before it in the map, and nothing of those after it;
- no header includes itself by way of others, but for a pair that says so: `// pair: why` after the
  include of one of the two;
- every header and source of the folders belongs to exactly one room, and is included by its room's or
  library's folder, never by a relative path.

Exit 0 when all hold, 1 with a line for each breach.
"""
import re
import sys
from pathlib import Path

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"]([A-Z]{2,3}/[^>"]+)[>"](.*)$', re.MULTILINE)
RELATIVE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*"(?![A-Z]{2,3}/)([^"]+)"', re.MULTILINE)


class Room:
    def __init__(self, name, place, library, floor, order, knot):
        self.name, self.place, self.target = name, place, library
        self.floor, self.order, self.knot = floor, order, knot
        self.sources, self.headers, self.uses = [], [], []


def read_map(path):
    """The rooms of a map, from the ground up."""
    rooms, library, floor, knot = [], None, 0, False
    for line in path.read_text().splitlines():
        word, *rest = line.split()
        if word == 'library':
            library = rest[0]
        elif word in ('floor', 'knot'):
            floor, knot = floor + 1, word == 'knot'
        elif word == 'room':
            rooms.append(Room(rest[0], rest[1], library, floor, len(rooms), knot))
        else:
            {'source': rooms[-1].sources, 'header': rooms[-1].headers,
             'uses': rooms[-1].uses}[word].append(rest[0])
    return rooms


class Check:
    def __init__(self, root, rooms):
        self.root, self.rooms = root, rooms
        self.by_name = {room.name: room for room in rooms}
        self.faults = []
        self.room_of = {}   # file, from the source root -> room
        self.file_of = {}   # as it is included -> file
        for room in rooms:
            own = [f'{room.place}/{path.name}' for path in sorted((root / room.place).iterdir())
                   if path.suffix in ('.h', '.def')]
            for file in room.headers + own:
                self.assign(file, room)
                self.file_of[re.sub('^(host|node)/', '', file)] = file
            for file in room.sources:
                self.assign(file, room)

    def assign(self, file, room):
        if not (self.root / file).is_file():
            self.faults.append(f'{room.name} names {file}, which is not there')
        elif file in self.room_of:
            self.faults.append(f'{file} is in two rooms, {self.room_of[file].name} and {room.name}')
        self.room_of[file] = room

    def includes(self, file):
        """Files of ours that FILE includes, with the line and whether it is one half of a pair."""
        path = self.root / file
        text = path.read_text() if path.is_file() else ''
        for match in RELATIVE.finditer(text):
            line = text.count('\n', 0, match.start()) + 1
            self.faults.append(f'{file}:{line}: includes {match[1]} without its room')
        for match in INCLUDE.finditer(text):
            target = self.file_of.get(match[1])
            line = text.count('\n', 0, match.start()) + 1
            if target is None:
                self.faults.append(f'{file}:{line}: includes {match[1]}, a header of no room')
            else:
                yield target, line, '// pair:' in match[2]

    def check_strays(self):
        roofs = {str(Path(room.place).parent) for room in self.rooms}
        places = {room.place for room in self.rooms}
        for roof in sorted(roofs):
            for path in sorted((self.root / roof).iterdir()):
                if path.is_dir() and f'{roof}/{path.name}' not in places and any(
                        file.suffix in ('.h', '.cpp', '.def') for file in path.rglob('*')):
                    self.faults.append(f'{roof}/{path.name} is a room on no floor')
        folders = {str(Path(room.place).parent) for room in self.rooms} | {
            room.place for room in self.rooms}
        for folder in sorted(folders):
            for path in sorted((self.root / folder).iterdir()):
                file = f'{folder}/{path.name}'
                if path.suffix in ('.h', '.cpp', '.def') and file not in self.room_of:
                    self.faults.append(f'{file} belongs to no room')

    def allowed(self, file, room, target):
        """Why FILE of ROOM may not include what is in the room TARGET, or None."""
        if target.name not in room.uses:
            return f'{room.name} does not name {target.name} under USES'
        if target.floor > room.floor:
            return f'{target.name} is on a floor above {room.name}'
        if room.knot and target.floor == room.floor and target.order > room.order \
                and file.endswith('.h'):
            return f'headers of {room.name} come before those of {target.name}'
        return None

    def check_includes(self):
        used, headers = {room.name: set() for room in self.rooms}, {}
        for file, room in self.room_of.items():
            for target, line, pair in self.includes(file):
                if file.endswith('.h') and not pair:
                    headers.setdefault(file, []).append(target)
                other = self.room_of[target]
                if other is room:
                    continue
                if other.target != room.target:
                    if other.floor > room.floor:
                        self.faults.append(f'{file}:{line}: includes {target} of {other.target}')
                    continue
                used[room.name].add(other.name)
                why = self.allowed(file, room, other)
                if why:
                    self.faults.append(f'{file}:{line}: includes {target}, but {why}')
        for room in self.rooms:
            for name in room.uses:
                if name not in self.by_name:
                    self.faults.append(f'{room.name} uses {name}, which is no room')
                elif name not in used[room.name]:
                    self.faults.append(f'{room.name} names {name} under USES and includes nothing of it')
        return used, headers

    def check_cycles(self, arrows, what):
        done, path = set(), []

        def walk(node):
            if node in path:
                self.faults.append(f'{what} in a cycle: ' + ' -> '.join(path[path.index(node):] + [node]))
                return
            if node in done:
                return
            path.append(node)
            for target in sorted(arrows.get(node, ())):
                walk(target)
            path.pop()
            done.add(node)

        for node in sorted(arrows):
            walk(node)

    def run(self):
        self.check_strays()
        used, headers = self.check_includes()
        self.check_cycles(headers, 'headers')
        knots = {room.name for room in self.rooms if room.knot}
        self.check_cycles({name: targets - (knots if name in knots else set())
                           for name, targets in used.items()}, 'rooms')
        return self.faults


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    rooms = read_map(Path(sys.argv[2]))
    faults = Check(Path(sys.argv[1]), rooms).run()
    for fault in faults:
        print(fault)
    floors = len({room.floor for room in rooms})
    print(f'{len(rooms)} rooms on {floors} floors: {len(faults)} faults')
    return 1 if faults or not rooms else 0


if __name__ == '__main__':
    sys.exit(main())
