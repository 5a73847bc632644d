#include "host/runner/CLooseRootsSource.h"

#include "host/script/CSpiderMonkeyEngine.h"

namespace {

struct LooseRootsGSource {
    GSource base;
    CSpiderMonkeyEngine* engine;
};

gboolean prepare(GSource* source, gint* timeout) {
    *timeout = -1;
    // The engine keeps them while anything runs; between dispatches nothing does.
    reinterpret_cast<LooseRootsGSource*>(source)->engine->dropLooseRoots();
    return FALSE;
}

gboolean check(GSource*) {
    return FALSE;
}

gboolean dispatch(GSource*, GSourceFunc, gpointer) {
    return G_SOURCE_CONTINUE;
}

GSourceFuncs kFuncs = {prepare, check, dispatch, nullptr, nullptr, nullptr};

} // namespace

CLooseRootsSource::CLooseRootsSource(GMainContext* context, CSpiderMonkeyEngine& engine)
    : m_source(g_source_new(&kFuncs, sizeof(LooseRootsGSource))) {
    reinterpret_cast<LooseRootsGSource*>(m_source)->engine = &engine;
    g_source_attach(m_source, context);
}

CLooseRootsSource::~CLooseRootsSource() {
    g_source_destroy(m_source);
    g_source_unref(m_source);
}
