#include <KIT/KIT_Memory.h>

#include <BAS/BAS_Memory.h>
#include <KIT/KIT_WorkBuffer.h>

#include <fmt/format.h>

static void printLine(KIT_WorkBuffer &buffer, const char *name, int64_t bytes, int64_t peak,
                      int64_t blocks, int level)
{
    std::string line = fmt::format("{}: {} bytes", name, bytes);
    if (level >= 2) {
        line += fmt::format(", {} at most", peak);
    }
    if (level >= 3) {
        line += fmt::format(", {} blocks", blocks);
    }
    line += "\n";
    buffer.append(line.c_str(), line.size());
}

void KIT_Memory::printMemory(const BAS_MemoryTable &table, KIT_WorkBuffer &buffer, int level,
                             bool skipUnused)
{
    int64_t bytes = 0;
    int64_t peak = 0;
    int64_t blocks = 0;
    for (int i = 0; i < table.entries(); ++i) {
        const BAS_MemoryUser &user = *table.getUser(i);
        bytes += user.getBytes();
        peak += user.getPeakBytes();
        blocks += user.getBlocks();
        if (level >= 1 && (!skipUnused || user.getBytes() != 0)) {
            printLine(buffer, user.getName(), user.getBytes(), user.getPeakBytes(),
                      user.getBlocks(), level);
        }
    }
    printLine(buffer, "Total", bytes, peak, blocks, level);
}
