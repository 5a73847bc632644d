// vellum-host feed: what the plug-in's feed reader makes of a feed, printed for a person.
#pragma once

#include <iosfwd>
#include <string>

class CReferenceHost;

/// A data folder of its own for one run of the host, made in the temporary folder and named
/// to the host through XDG_DATA_HOME while this object lives; removed with everything in it at
/// the end. Made before the host, so that the host's stores open in it.
class CScratchDataFolder {
public:
    CScratchDataFolder();
    ~CScratchDataFolder();
    CScratchDataFolder(const CScratchDataFolder&) = delete;
    CScratchDataFolder& operator=(const CScratchDataFolder&) = delete;

private:
    std::string m_path;
    std::string m_previous;
    bool m_hadPrevious = false;
};

/// Reads source (an http or https URL, fetched with the host's network layer, or a file) with
/// the plug-in's feed reader, which is handed the bytes from 127.0.0.1 as one more subscription,
/// and prints the feed's title and one line per item: its date (UTC), title and link. Exit
/// status: 0; 1 when the source cannot be read or is no feed; 2 when the plug-in cannot start;
/// 3 at the time limit; 130 after Ctrl-C.
int RunFeed(CReferenceHost& host, const std::string& plugin, const std::string& source,
            int timeoutSeconds, std::ostream& out, std::ostream& errors);
