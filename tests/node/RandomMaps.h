/// \file RandomMaps.h
/// Random migration maps with the scripts of their versions.
#pragma once

#include <random>
#include <string>
#include <utility>
#include <vector>

/// A parameter through the versions of a random map, with what each version calls it and has for its kind.
struct RandomTrack
{
    std::string name;
    std::string kind; ///< float, int, string, menu, vector or three
    std::vector<std::pair<std::string, std::string>> values =
        {}; ///< all its value steps: word, rest
};

/// Random maps of steps that can be undone.
class RandomMaps
{
public:
    explicit RandomMaps(unsigned seed) : myRandom(seed)
    {
        const char *const kinds[] = {"float", "int", "string", "menu", "vector", "item"};
        for (int i = 0; i < 8; ++i) {
            myTracks.push_back({freshName(), kinds[pick(6)]});
        }
        scripts.push_back(script());
        first = myTracks;
    }
    /// Another version; its steps are added to the text.
    void step()
    {
        text += "version " + std::to_string(scripts.size() + 1) + "\n";
        for (RandomTrack &track : myTracks) {
            change(track);
        }
        scripts.push_back(script());
    }
    /// One map from the first version to the last.
    std::string composed() const
    {
        std::string all = "migration 1.0\nversion 1\nversion 2\n";
        for (std::size_t i = 0; i < first.size(); ++i) {
            const RandomTrack &last = myTracks[i];
            const std::string mark = last.kind == "item" ? "#" : "";
            for (const auto &[word, rest] : last.values) {
                all += word + first[i].name + mark + rest + "\n";
            }
            if (last.kind == "three") {
                all += "split " + first[i].name + " " + last.name + "x " + last.name + "y " +
                       last.name + "z\n";
            } else if (last.name != first[i].name) {
                all += "rename " + first[i].name + mark + " " + last.name + mark + "\n";
            }
        }
        return all;
    }
    std::vector<std::string> values()
    {
        std::vector<std::string> sets{"block=3"};
        for (const RandomTrack &track : first) {
            // Not at a default, which another version may have otherwise.
            const std::string number = std::to_string(2 + pick(90));
            const std::string name = track.kind == "item" ? track.name + "2" : track.name;
            sets.push_back(name + "=" +
                           (track.kind == "vector" ? number + " 7 " + number + ".5"
                            : track.kind == "menu" ? "b"
                                                   : number));
        }
        return sets;
    }

    std::string text = "migration 1.0\nversion 1\n";
    std::vector<std::string> scripts;
    std::vector<RandomTrack> first;

private:
    int pick(int count) { return int(myRandom() % unsigned(count)); }
    std::string freshName() { return "p" + std::to_string(++myNames) + "q"; }
    void change(RandomTrack &track)
    {
        const std::string former = track.name + (track.kind == "item" ? "#" : "");
        if (track.kind == "float" && pick(2)) {
            const char *const units[] = {" * 0.01", " / 4", " * 2 + 32", " - 1"};
            track.values.emplace_back("unit ", units[pick(4)]);
            text += "unit " + former + track.values.back().second + "\n";
        }
        if (track.kind == "int" && pick(3) == 0) {
            track.kind = pick(2) ? "float" : "string";
            track.values.emplace_back("retype ", " int " + track.kind);
            text += "retype " + former + track.values.back().second + "\n";
        } else if (track.kind == "vector" && pick(2)) {
            track.kind = "three";
            track.name = freshName();
            text += "split " + former;
            for (const char *part : {"x", "y", "z"}) {
                text += " " + track.name + part;
            }
            text += "\n";
        } else if (track.kind == "three" && pick(2)) {
            text += "join " + former + "x " + former + "y " + former + "z ";
            track.kind = "vector";
            track.name = freshName();
            text += track.name + "\n";
        } else if (track.kind != "three" && pick(2)) {
            track.name = freshName();
            text +=
                "rename " + former + " " + track.name + (track.kind == "item" ? "#" : "") + "\n";
        }
    }
    std::string script() const
    {
        std::string all;
        std::string items;
        for (const RandomTrack &track : myTracks) {
            const std::string head = "parm { name " + track.name;
            if (track.kind == "item") {
                items += head + "# type float }\n";
            } else if (track.kind == "menu") {
                all += head + " type ordinal menu { a A b B c C } }\n";
            } else if (track.kind == "three") {
                for (const char *part : {"x", "y", "z"}) {
                    all += head + part + " type float }\n";
                }
            } else {
                all += head + " type " + track.kind + " }\n";
            }
        }
        return all + "multiparm { name block " + items + " parm { name other# type int } }\n";
    }

    std::mt19937 myRandom;
    std::vector<RandomTrack> myTracks;
    int myNames = 0;
};
