#include "discovery/JSDiscovery.h"

#include "discovery/CJSDiscoveryContainer.h"
#include "values/CESArguments.h"
#include "values/CESNativeObject.h"

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char* kContainerMember = "Container";

/// Scripts in documents cannot reach the network: only batch and console scripts may.
void requirePrivilege(ESContext context) {
    if (!CES::isCurrentEventOneOf(context, {{"Batch", "Exec"}, {"Console", "Exec"}}))
        raiseHostError(kESErrSecurity);
}

/// The text of a script string as an EStr.
CEStr textOf(const CES::Val& value) {
    CQsText text = value.text();
    return CEStr::adopt(EStrNewFromQsText(text.get()));
}

/// The result object's stop: stops every request; the container stays until the finaliser.
bool DiscoveryStop(ESContext, ESObject self, ESArgs, ESVal) {
    auto* container =
        static_cast<CJSDiscoveryContainer*>(CES::hiddenMember(self, kContainerMember));
    if (container)
        container->stop();
    return true;
}

void DiscoveryFinalize(ESObject object) {
    auto* container =
        static_cast<CJSDiscoveryContainer*>(CES::hiddenMember(object, kContainerMember));
    if (!container)
        return;
    CES::clearHiddenMember(object, kContainerMember);
    CJSDiscoveryContainer::release(container);
}

/// The result object that owns the container from now on.
void giveResult(ESContext context, const char* className,
                std::unique_ptr<CJSDiscoveryContainer> container, ESVal result) {
    CES::Val object =
        CES::newNativeObject(CES::Context(context), className, {CES::method("stop", DiscoveryStop)},
                             kContainerMember, container.get(), DiscoveryFinalize);
    container.release();
    CES::setResult(result, object);
}

/// The domains of "aDomains": every string element, in order. Without it, "local.".
std::vector<std::string> domainsOf(const CES::Arguments& a) {
    if (!a.has("aDomains"))
        return {"local."};
    const CES::Val& list = a["aDomains"];
    if (!list.isArray())
        raiseHostError(kESErrBadArgument);
    std::vector<std::string> domains;
    long length = list.len();
    for (long i = 0; i < length; ++i) {
        CES::Val element = list[i];
        // Elements of other types are skipped.
        if (element.type() == kESValString)
            domains.push_back(element.text().getString());
    }
    return domains;
}

} // namespace

bool JSDiscoveryQueryServices(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        requirePrivilege(context);
        CES::Arguments a(context, args, {{"cType", true}, {"oAsync", true}, {"aDomains", false}});
        if (!a.ok())
            return false;
        ESObject receiver = a.object("oAsync");
        if (!receiver)
            raiseHostError(kESErrBadArgument);
        std::vector<std::string> domains = domainsOf(a);
        auto container = std::make_unique<CJSDiscoveryContainer>(textOf(a["cType"]), CEStr(),
                                                                 CES::Val(receiver));
        container->startQueries(domains);
        giveResult(context, "DiscoveryQuery", std::move(container), result);
        return true;
    });
}

bool JSDiscoveryResolveService(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        requirePrivilege(context);
        CES::Arguments a(
            context, args,
            {{"cType", true}, {"cDomain", false}, {"cService", true}, {"oResult", true}});
        if (!a.ok())
            return false;
        ESObject receiver = a.object("oResult");
        if (!receiver)
            raiseHostError(kESErrBadArgument);
        auto container = std::make_unique<CJSDiscoveryContainer>(
            textOf(a["cType"]), textOf(a["cService"]), CES::Val(receiver));
        // Without a domain the resolve goes to unicast, though a browse without domains stays
        // on the local link: the two defaults differ on purpose.
        std::string domain = a.text("cDomain");
        container->startResolve(a.has("cDomain") ? domain.c_str() : nullptr);
        giveResult(context, "DiscoveryResolve", std::move(container), result);
        return true;
    });
}
