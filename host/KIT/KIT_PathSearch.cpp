#include <KIT/KIT_PathSearch.h>

#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_WorkBuffer.h>

#include <string>
#include <string_view>
#include <sys/stat.h>

namespace
{

std::string_view withoutSlashes(std::string_view folder)
{
    while (folder.size() > 1 && folder.back() == '/') {
        folder.remove_suffix(1);
    }
    return folder;
}

bool isFile(const std::string &path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::string getDefaultPath()
{
    const char *data = KITgetEnv(KIT_VAR_DATA_HOME);
    if (data && *data) {
        return ".:" + std::string(data) + "/zel";
    }
    return ".:~/.local/share/zel";
}

} // namespace

KIT_PathSearch::KIT_PathSearch()
{
    const char *path = KITgetEnv(KIT_VAR_PATH);
    setComponents(path && *path ? path : getDefaultPath().c_str());
}

KIT_PathSearch &KIT_PathSearch::getInstance(int)
{
    static KIT_PathSearch theDataFiles;
    return theDataFiles;
}

void KIT_PathSearch::setComponents(const char *path)
{
    myComponents.clear();
    KIT_StringArray folders;
    KIT_String(path ? path : "").tokenize(folders, ":");
    for (KIT_String &folder : folders) {
        folder.expandVariables();
        if (folder.view().empty()) {
            continue; // an unset variable must not become a folder, least of all the root
        }
        const std::string_view name = withoutSlashes(folder.view());
        myComponents.append(name.data(), name.size());
    }
}

bool KIT_PathSearch::isPlainName(const char *name)
{
    std::string_view rest(name ? name : "");
    for (;;) {
        const size_t slash = rest.find('/');
        const std::string_view part = rest.substr(0, slash);
        if (part.empty() || part == "." || part == "..") {
            return false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        rest.remove_prefix(slash + 1);
    }
}

int64_t KIT_PathSearch::findAllFiles(const char *name, KIT_StringArray &files) const
{
    if (!isPlainName(name)) {
        return 0;
    }
    int64_t found = 0;
    for (const KIT_String &component : myComponents) {
        const std::string file = component.toStdString() + "/" + name;
        if (isFile(file)) {
            files.append(file.c_str());
            ++found;
        }
    }
    return found;
}

KIT_String KIT_PathSearch::getInstallFolder()
{
    const char *folder = KITgetEnv(KIT_VAR_ROOT);
    return KIT_String(std::string(withoutSlashes(folder ? folder : "")));
}

bool KIT_PathSearch::isBelow(const char *path, const char *folder, bool ignoreCase)
{
    const std::string_view below = withoutSlashes(folder ? folder : "");
    const std::string start = std::string(path ? path : "").substr(0, below.size());
    if (below.empty() || KIT_String(start).compare(std::string(below).c_str(), ignoreCase) != 0) {
        return false;
    }
    const char next = path[start.size()];
    return next == '\0' || next == '/' || below == "/";
}

bool KIT_PathSearch::condenseScn(KIT_WorkBuffer &path)
{
    const char *text = KITgetEnv(KIT_VAR_SCENE);
    std::string_view folder(text ? text : "");
    while (!folder.empty() && folder.back() == '/') {
        folder.remove_suffix(1);
    }
    const std::string_view whole = path.view();
    const bool below = !folder.empty() && whole.substr(0, folder.size()) == folder &&
                       (whole.size() == folder.size() || whole[folder.size()] == '/');
    if (!below) {
        return false;
    }
    KIT_WorkBuffer shorter("$SCN");
    shorter.append(whole.substr(folder.size()));
    path = shorter;
    return true;
}
