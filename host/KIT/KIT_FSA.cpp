#include <KIT/KIT_FSA.h>

#include <algorithm>
#include <cstring>

void KIT_FSA::build(int count, const Row *table)
{
    myRows.clear();
    for (int i = 0; table && i < count; ++i) {
        if (table[i].word) {
            myRows.append(table[i]);
        }
    }
    std::stable_sort(myRows.begin(), myRows.end(),
                     [](const Row &a, const Row &b) { return std::strcmp(a.word, b.word) < 0; });
    const Row *const end =
        std::unique(myRows.begin(), myRows.end(),
                    [](const Row &a, const Row &b) { return std::strcmp(a.word, b.word) == 0; });
    myRows.setSize(end - myRows.begin());
}

int KIT_FSA::findSymbol(const char *word) const
{
    if (!word) {
        return theNoSymbol;
    }
    const Row *const found = std::lower_bound(
        myRows.begin(), myRows.end(), word,
        [](const Row &row, const char *sought) { return std::strcmp(row.word, sought) < 0; });
    return found != myRows.end() && std::strcmp(found->word, word) == 0 ? found->symbol
                                                                        : theNoSymbol;
}
