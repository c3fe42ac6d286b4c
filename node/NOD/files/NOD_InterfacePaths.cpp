#include <NOD/files/NOD_InterfacePathsPrivate.h>

#include <filesystem>
#include <system_error>

namespace
{

namespace fs = std::filesystem;

fs::path realPath(const fs::path &path)
{
    std::error_code failed;
    const fs::path whole = fs::absolute(path, failed);
    fs::path real = fs::weakly_canonical(failed ? path : whole, failed);
    return failed ? path.lexically_normal() : real;
}

/// Empty for a path that doesn't lie below the folder.
fs::path below(const std::string &path, const std::string &folder)
{
    const fs::path relative = realPath(path).lexically_relative(realPath(folder));
    return relative.empty() || *relative.begin() == ".." ? fs::path() : relative;
}

} // namespace

std::string NODpathFor(const std::string &script, const std::string &folder)
{
    const fs::path relative = folder.empty() ? fs::path() : below(script, folder);
    return (relative.empty() ? realPath(script) : relative).generic_string();
}

std::string NODpathFrom(const std::string &written, const std::string &folder)
{
    const fs::path path(written);
    return path.is_absolute() || folder.empty() ? written : (fs::path(folder) / path).string();
}

bool NODisBelow(const std::string &path, const std::string &folder)
{
    return !below(path, folder.empty() ? "." : folder).empty();
}

std::string NODfolderOf(const std::string &file)
{
    const std::string folder = fs::path(file).parent_path().string();
    return folder.empty() ? "." : folder;
}
