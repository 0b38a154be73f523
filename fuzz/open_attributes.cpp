#include "open_set.h"

#include <skar/datafile.h>
#include <skar/platform.h>

#include <vector>

// Opens an attribute file and reads all of it, as it describes itself. An input is the length of the data
// file in 16 bits, big-endian, its bytes and those of the index.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace SKARIOAttributes;
    if (size < 2) return 0;
    skar::fuzz::quiet();
    const std::string bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
    const std::size_t first = std::min<std::size_t>(bytes.size(), data[0] << 8 | data[1]);
    skar::tests::FaultBackend disk;
    disk.put("/survey/line/File", bytes.substr(0, first));
    disk.put("/survey/line/FileTmIdx", bytes.substr(first));
    for (const auto access : {SKARDataFile::query, SKARDataFile::update}) {
        SKARSetLastError(0);
        long code = 0;
        SKARDataFile file(L"/survey/line", L"File", L"", 0, access, 0, code, true);
        std::vector<MORVAUString> names;
        std::vector<dataType> types;
        std::vector<dataValue> values;
        std::vector<int> counts(file.GetNumberOfSummaryAttributes() + 1);
        file.GetAllSummaryAttributes(names, types, values, counts.data());
        file.GetAttributesName(names, types);
        const auto most = static_cast<int>(std::min<std::uint64_t>(file.GetNumberOfRecords(), 300));
        double time = 0.0;
        unsigned status = 0;
        for (int number = most; number >= 0; --number) {
            values.clear();
            file.ReadRecord(time, status, values, counts, number);
            for (std::size_t i = 0; i < values.size(); ++i)
                if (rowOf(types[i]) && rowOf(types[i])->isVariable()) delete[] values[i].byteArray;
        }
        for (int read = 0; read <= most && file.ReadRecord(time, status, values, -999) == 0; ++read) {
        }
        unsigned recordSize = 0;
        file.GetCurrentRecordSize(recordSize);
        if (access == SKARDataFile::update) file.SetSummaryRecordStatus(5);
    }
    if (disk.openStreams() != 0) __builtin_trap();
    return 0;
}
