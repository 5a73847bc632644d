// Any bytes as a multipart reply: the first line is the Content-Type value, the rest the body.
// Every part found is read to its end; nothing may crash, and a part's stream never gives more
// than the reply held.

#include "frame/host/HostTableIds.h"
#include "fuzz/FuzzHost.h"
#include "host/files/CPosixFileSystem.h"
#include "soap/CMultipartReader.h"
#include "values/QsStm.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

// The support layer, for its file system only: the disk, temporary files in the system's folder.
class DiskSupport final : public IVellSupport {
public:
    int32_t hftVersion() const override { return kNewVellSupportTable.version; }
    IFileSystem* files() override { return &m_files; }
    ICabinets* cabinets() override { return nullptr; }
    IPreferences* preferences() override { return nullptr; }

private:
    CPosixFileSystem m_files;
};

void setUp() {
    static DiskSupport support;
    fuzzInstallCoreAndEncodings(true);
    gVellSupportHFT = &support;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool ready = (setUp(), true);
    (void)ready;
    std::string input(reinterpret_cast<const char*>(data), size);
    size_t lineEnd = input.find('\n');
    if (lineEnd == std::string::npos)
        return 0;
    std::string body = input.substr(lineEnd + 1);
    CAgg headers;
    CAgg& header = headers[0L];
    header["key"] = CAgg("Content-Type");
    header["value"] = CAgg(EStrFromUTF8(input.substr(0, lineEnd)).get());

    CMultipartReader reader;
    QsStm stream = QsMemStmRdOpen(body.data(), body.size());
    reader.process(headers, stream);
    QsStmClose(stream);
    for (const CEStr& name : reader.getPartNames()) {
        QsStm part = reader.getPart(name);
        if (QsStmReadAll(part, 1000).size() > body.size())
            std::abort();
        QsStmClose(part);
    }
    return 0;
}
