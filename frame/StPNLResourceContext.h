// A scope guard that makes the plug-in's resources current for the dialog manager.
#pragma once

/// For the time of one lookup, the resources of the language handle are the current ones.
/// Guards nest; each restores what was current before it.
class StPNLResourceContext {
public:
    StPNLResourceContext();
    ~StPNLResourceContext();
    StPNLResourceContext(const StPNLResourceContext&) = delete;
    StPNLResourceContext& operator=(const StPNLResourceContext&) = delete;

    /// The resource handle that lookups read now: the innermost guard's, or the language handle
    /// outside any guard. Null stands for the plug-in's own resources.
    static void* current();

private:
    void* m_saved;
    bool m_savedActive;
};
