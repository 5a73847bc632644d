#include "frame/CModule.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;

// A module that writes what runs into a log, and can fail or lean on another module.
class Recorder final : public CModule {
public:
    Recorder(std::string name, Log& log, bool initResult = true)
        : m_name(std::move(name)), m_log(log), m_initResult(initResult) {}
    bool init() override {
        m_log.push_back("init " + m_name);
        if (m_dependency)
            m_log.push_back(std::string("depend ") + (m_dependency->depend() ? "ok" : "failed"));
        return m_initResult;
    }
    bool term() override {
        m_log.push_back("term " + m_name);
        return true;
    }
    void dependOn(CModule* other) { m_dependency = other; }

private:
    std::string m_name;
    Log& m_log;
    bool m_initResult;
    CModule* m_dependency = nullptr;
};

// The registry holds the plug-in's static module from load on; each test sets it aside.
class Registry : public ::testing::Test {
protected:
    void SetUp() override {
        while (CModule* head = CModule::sm_head) {
            m_saved.push_back(head);
            head->unlink();
        }
    }
    void TearDown() override {
        while (CModule* head = CModule::sm_head)
            head->unlink();
        for (auto it = m_saved.rbegin(); it != m_saved.rend(); ++it)
            (*it)->add();
    }
    static size_t registered() {
        size_t count = 0;
        for (CModule* m = CModule::sm_head; m; m = m->next())
            ++count;
        return count;
    }

    Log log;

private:
    std::vector<CModule*> m_saved;
};

TEST_F(Registry, EmptyRegistryInitialisesAndTerminates) {
    EXPECT_TRUE(CModule::initAll());
    EXPECT_TRUE(CModule::termAll());
}

TEST_F(Registry, ModulesComeUpInReverseOfCreationAndGoDownInReverseOfInit) {
    Recorder a("a", log), b("b", log), c("c", log);
    EXPECT_TRUE(CModule::initAll());
    // Every module that came up moved to the head: the last initialised stands first.
    EXPECT_EQ(CModule::sm_head, &a);
    EXPECT_TRUE(CModule::initAll()); // a second walk runs nothing
    EXPECT_TRUE(CModule::termAll());
    EXPECT_EQ(log, (Log{"init c", "init b", "init a", "term a", "term b", "term c"}));
    EXPECT_EQ(CModule::sm_head, nullptr);
}

TEST_F(Registry, FailedInitStopsLaterModulesAndTermStopsAtTheFirstNotInitialised) {
    Recorder a("a", log), b("b", log, false), c("c", log), d("d", log);
    EXPECT_FALSE(CModule::initAll());
    EXPECT_EQ(log, (Log{"init d", "init c", "init b"}));
    // The module that failed is off the registry for good; a is still waiting.
    EXPECT_FALSE(b.isLinked());
    EXPECT_EQ(registered(), 3u);
    EXPECT_FALSE(b.depend());
    EXPECT_FALSE(b.iTerm());
    EXPECT_FALSE(CModule::termAll());
    EXPECT_EQ(log, (Log{"init d", "init c", "init b", "term c", "term d"}));
    EXPECT_TRUE(a.isLinked());
}

TEST_F(Registry, DependOnTheNextModuleInitialisesItOnce) {
    Recorder a("a", log), b("b", log);
    b.dependOn(&a);
    EXPECT_TRUE(CModule::initAll());
    EXPECT_EQ(log, (Log{"init b", "init a", "depend ok"}));
    EXPECT_TRUE(CModule::termAll());
    EXPECT_EQ(log.back(), "term a");
}

TEST_F(Registry, DependOnAFailedModuleDoesNotRunItAgain) {
    Recorder failing("failing", log, false), user("user", log);
    user.dependOn(&failing);
    EXPECT_FALSE(failing.iInit());
    EXPECT_TRUE(user.iInit());
    EXPECT_EQ(log, (Log{"init failing", "init user", "depend failed"}));
}

TEST_F(Registry, TermOfAModuleNeverInitialisedIsFalseAndRunsNothing) {
    Recorder a("a", log);
    EXPECT_FALSE(a.iTerm());
    EXPECT_TRUE(log.empty());
    EXPECT_TRUE(a.isLinked());
}

TEST_F(Registry, AFreedModuleLeavesTheRegistry) {
    Recorder a("a", log);
    {
        auto freed = std::make_unique<Recorder>("freed", log);
        auto last = std::make_unique<Recorder>("last", log);
        EXPECT_EQ(registered(), 3u);
    }
    EXPECT_EQ(CModule::sm_head, &a);
    EXPECT_TRUE(CModule::initAll());
    EXPECT_EQ(log, (Log{"init a"}));
}

} // namespace
