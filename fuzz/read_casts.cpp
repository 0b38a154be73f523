#include "support/fault_backend.h"

#include <skar/soundvelocity.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace {

bool isResult(int result) {
    return result == 0 || result == -1 || result == 5016009;
}

// Reads, saves what could be read and reads that again, which must do.
template <class Format>
void readAndSave(const MORVAUString& name) {
    Format file(name);
    const int result = file.ReadInData();
    if (!isResult(result)) __builtin_trap();
    SvpFile::LLDGStringToDouble(name);
    const bool holdsData = file.validate() == 0;
    const int saved = file.UpdateDataFile();
    if (saved != 0 && saved != -1) __builtin_trap();
    if (result != 0 || saved != 0 || !holdsData) return;
    if (file.ReadInData() != 0) __builtin_trap();
}

} // namespace

// Casts in each of the four formats, whichever the bytes are of.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::tests::FaultBackend disk;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const MORVAUString name("/line/cast");
    const auto put = [&] { disk.put("/line/cast", bytes); };
    put();
    int status = 0;
    const std::unique_ptr<SvpFile> file(SvpFile::GetSvpFormat(name, status));
    if (!file || status != 0 || !isResult(file->ReadInData())) __builtin_trap();
    put();
    readAndSave<SkarSvpFile>(name);
    put();
    readAndSave<CHSSvpFile>(name);
    put();
    readAndSave<RANSvpFile_Dat>(name);
    put();
    readAndSave<RANSvpFile_Edf>(name);
    if (disk.openStreams() != 0) __builtin_trap();
    return 0;
}
