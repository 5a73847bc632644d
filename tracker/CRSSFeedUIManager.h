// The presentations of the Tracker's feeds: one object per feed that has its own, and the default
// one for every other feed; observers hear when a feed's presentation comes, changes or goes.
#pragma once

#include "tracker/CRSSFeedUI.h"
#include "values/CAgg.h"
#include "values/EStr.h"

#include <map>
#include <memory>
#include <vector>

/// Hears of presentations that come, change and go.
class CRSSFeedUIObserver {
public:
    virtual ~CRSSFeedUIObserver() = default;
    virtual void didAddUI(EStr url);
    virtual void didUpdateUI(EStr url);
    virtual void didRemoveUI(EStr url);
};

class CRSSFeedUIManager {
public:
    CRSSFeedUIManager();
    ~CRSSFeedUIManager();
    CRSSFeedUIManager(const CRSSFeedUIManager&) = delete;
    CRSSFeedUIManager& operator=(const CRSSFeedUIManager&) = delete;

    /// The manager, made on first use.
    static CRSSFeedUIManager& instance();
    /// The manager, or null when there is none.
    static CRSSFeedUIManager* sm_instance;
    /// Frees the manager and every presentation it holds.
    static void destroyInstance();

    /// The feed's own presentation, or the default one.
    CRSSFeedUI* getFeedUI(EStr url);
    /// The feed's own presentation, or null.
    CRSSFeedUI* findFeedUI(EStr url);
    CRSSFeedUI& defaultFeedUI() { return *m_default; }
    /// Gives a feed its own presentation, which the manager then owns; one it had is deleted.
    void addFeedUI(EStr url, CRSSFeedUI* ui);
    /// Takes a feed's presentation away; it is deleted later, since a script may be removing
    /// its own presentation while it runs.
    void removeFeedUI(EStr url);
    const std::map<CEStr, CRSSFeedUI*, CEStrLessNumbersFirst>& feedUIs() const { return m_uis; }

    void addObserver(CRSSFeedUIObserver* observer);
    void removeObserver(CRSSFeedUIObserver* observer);

    /// Makes a presentation the one that shows in the context pane; the one that had the focus
    /// hears willLoseContextFocus and its pane is hidden.
    void setContextFocus(CRSSFeedUI* ui);
    /// Forgets the focus when this presentation holds it.
    void releaseContextFocus(CRSSFeedUI* ui);
    CRSSFeedUI* contextFocus() const { return m_focus; }

    /// The delayed call that deletes the presentations taken away.
    static void RemoveUIDoIt(void* data);

private:
    template <class Fn> void notify(Fn fn);
    void notifyDidAdd(EStr url, CRSSFeedUI* ui);

    std::vector<CRSSFeedUIObserver*> m_observers;
    std::map<CEStr, CRSSFeedUI*, CEStrLessNumbersFirst> m_uis;
    CRSSFeedUI* m_focus = nullptr;
    std::unique_ptr<CRSSFeedUI> m_default;
    struct Pending {
        CEStr url;
        CRSSFeedUI* ui;
    };
    std::vector<Pending> m_pending;
    bool m_removeScheduled = false;
};
