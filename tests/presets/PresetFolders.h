/// \file PresetFolders.h
/// A search path of temporary folders, made once for the process and removed at its end:
/// "a" and "b" may be saved to, "install/data" is the application's own, "later" isn't there yet.
#pragma once

#include <KIT/KIT_PathSearch.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace fs = std::filesystem;

inline std::string readFile(const fs::path &path)
{
    std::ifstream is(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(is), std::istreambuf_iterator<char>());
}

inline void writeFile(const fs::path &path, const std::string &bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

class PresetFolders : public testing::Test
{
protected:
    /// The folder of all folders.
    static const std::string &root()
    {
        static const Root theRoot;
        return theRoot.path;
    }
    static std::string in(const std::string &name) { return root() + "/" + name; }

    void SetUp() override
    {
        for (const char *name : {"a", "b", "install/data", "outside"}) {
            fs::remove_all(in(name));
            fs::create_directories(in(name));
        }
        fs::remove_all(in("later"));
        searchIn({"a", "b", "install/data", "later"});
    }

    static void searchIn(const std::vector<std::string> &names)
    {
        std::string path;
        for (const std::string &name : names) {
            path += (path.empty() ? "" : ":") + in(name);
        }
        KIT_PathSearch::getInstance(0).setComponents(path.c_str());
    }

    /// All files below a folder with what is in them, to see that nothing changed.
    static std::string contents(const std::string &name)
    {
        std::vector<std::string> lines;
        for (const auto &entry : fs::recursive_directory_iterator(in(name))) {
            const std::string path = fs::relative(entry.path(), in(name)).string();
            lines.push_back(entry.is_regular_file() ? path + ": " + readFile(entry.path()) : path);
        }
        std::sort(lines.begin(), lines.end());
        std::string out;
        for (const std::string &line : lines) {
            out += line + "\n";
        }
        return out;
    }

private:
    struct Root
    {
        Root()
        {
            std::string name = (fs::temp_directory_path() / "zel_presets_XXXXXX").string();
            if (::mkdtemp(name.data())) {
                path = fs::canonical(name).string();
            }
            ::setenv("VELMORA_ROOT", (path + "/install").c_str(), 1);
        }
        ~Root() { fs::remove_all(path); }
        std::string path;
    };
};
