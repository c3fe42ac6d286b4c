#include <KIT/KIT_PathSearch.h>

#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_WorkBuffer.h>

bool KIT_PathSearch::condenseScn(KIT_WorkBuffer &path)
{
    const char *text = KITgetEnv("SCN");
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
