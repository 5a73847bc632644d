// The procedures other plug-ins want run once when the subscription store starts.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

class CRSSOnStartNotifier {
public:
    using Proc = void (*)(void* clientData);

    /// Appends a procedure to the process-wide list.
    static void add(Proc proc, void* clientData);
    /// Calls each procedure once, in the order they came, and deletes the list. A procedure
    /// that registers another while the list runs has it run in the same pass.
    static void runAll();
    /// The number of procedures waiting.
    static size_t count();

private:
    static std::vector<std::pair<Proc, void*>>* sm_list;
};
