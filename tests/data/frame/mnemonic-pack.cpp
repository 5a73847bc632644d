// A language pack for tests, loaded as SOAP.TST: labels that try the mnemonic rule, and a pack
// that lacks most keys.
#include "frame/ZStringPack.h"

namespace {

const ZStringPackEntry kEntries[] = {
    {"IDS_LANGUAGE", "TST"},
    {"IDS_OK", "Save && &Quit"},
    {"IDS_CANCEL", "&&&Stop&"},
    {"IDS_RSS_OPEN_ITEM", "\xC3\x96&ffnen \xE2\x82\xAC&"},
    {"IDS_RSS_REMOVE_FEED", "\xC3\x96\xC3\x96\xC3\x96"},
    {"IDS_RSS_REFRESH_FEED", "&"},
};

} // namespace

extern "C" {
extern const ZStringPack SOAPZStringPack __attribute__((visibility("default")));
const ZStringPack SOAPZStringPack = {kZStringPackVersion, sizeof kEntries / sizeof kEntries[0],
                                     kEntries};
}
