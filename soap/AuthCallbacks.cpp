#include "soap/AuthCallbacks.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/ZString.h"
#include "frame/mdAlert.h"
#include "soap/CCredStore.h"
#include "values/CES.h"
#include "values/CESEventScope.h"
#include "values/CESScriptText.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

// The dialog. {cServer} and {cRealm} stand inside string literals; {bCredentialStore} is true
// or false. Cancel leaves event.result unset.
constexpr const char* kDialogScript = R"(var auth = {
    initialize: function(dialog) {
        dialog.enable({keyc: {bCredentialStore}});
    },
    commit: function(dialog) {
        var results = dialog.store();
        this.result = {
            Username: results["usrn"],
            Password: results["pass"],
            UsePlatformAuth: results["keyc"]
        };
    },
    description: {
        name: SOAPString.IDS_SOAP_AUTHENTICATE_TITLE,
        elements: [{
            type: "view",
            align_children: "align_center",
            elements: [{
                type: "cluster",
                name: SOAPString.IDS_SOAP_AUTHENTICATE_CAPTION,
                elements: [
                    {type: "static_text", name: "{cServer}"},
                    {type: "static_text", name: "{cRealm}"},
                    {
                        type: "view",
                        elements: [
                            {
                                type: "view",
                                align_children: "align_row",
                                elements: [
                                    {type: "static_text",
                                     name: SOAPString.IDS_SOAP_AUTHENTICATE_USERNAME},
                                    {type: "edit_text", item_id: "usrn", char_width: 20}
                                ]
                            },
                            {
                                type: "view",
                                align_children: "align_row",
                                elements: [
                                    {type: "static_text",
                                     name: SOAPString.IDS_SOAP_AUTHENTICATE_PASSWORD},
                                    {type: "edit_text", item_id: "pass", char_width: 20,
                                     password: true}
                                ]
                            }
                        ]
                    },
                    {type: "check_box", item_id: "keyc",
                     name: SOAPString.IDS_NETWORK_ADD_TO_KEYCHAIN},
                    {type: "ok_cancel"}
                ]
            }]
        }]
    }
};
if(app.execDialog(auth) == "ok") event.result = auth.result;
)";

TrackerAuthDialogTest gTrackerDialogTest = nullptr;

/// The template with each placeholder replaced, in one pass: a value is never searched again.
std::string fillTemplate(std::string_view text,
                         std::initializer_list<std::pair<std::string_view, std::string>> values) {
    std::string out;
    while (!text.empty()) {
        bool replaced = false;
        for (const auto& [placeholder, value] : values) {
            if (text.substr(0, placeholder.size()) == placeholder) {
                out += value;
                text.remove_prefix(placeholder.size());
                replaced = true;
                break;
            }
        }
        if (!replaced) {
            out += text.front();
            text.remove_prefix(1);
        }
    }
    return out;
}

/// A copy of UTF-8 text from the host's allocator.
char* hostCopy(const std::string& text) {
    auto* copy = static_cast<char*>(QsMalloc(text.size() + 1));
    if (copy)
        std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

void dropSecret(char*& text) {
    if (!text)
        return;
    explicit_bzero(text, std::strlen(text));
    QsFree(text);
    text = nullptr;
}

/// The text of an entry of a map, as UTF-8; nothing when there is no such entry.
std::optional<std::string> entryText(const CAgg& map, const char* key) {
    if (map.getType() != CAgg::eMap || !map.has(key))
        return std::nullopt;
    CAgg copy(map);
    CAgg& entry = copy[key];
    if (entry.getType() == CAgg::eVoid)
        return std::nullopt;
    CQsText text;
    QsTextFromEStr(entry.toEStr(), text.get());
    return text.getString();
}

/// The text of a property of a script object, as UTF-8; nothing for undefined or null.
std::optional<std::string> propertyText(const CES::Val& object, const char* name) {
    CES::Val value = object[name];
    ESValType type = value.type();
    if (type == kESValUndefined || type == kESValNull)
        return std::nullopt;
    return value.text().getString();
}

/// What the dialog gave back.
struct DialogAnswer {
    std::optional<std::string> user;
    std::optional<std::string> password;
    bool keep = false;

    ~DialogAnswer() {
        if (password)
            explicit_bzero(password->data(), password->size());
    }
};

/// Without a dialog manager the host asks in its own way (a terminal asks line by line): the user
/// name, the password, and whether to keep them when there is a store to keep them in.
DialogAnswer askOnTheHost(const char* server, const char* realm, bool credentialStore) {
    DialogAnswer answer;
    IUserInterface* ui = gVellViewUserInterfaceHFT;
    if (!ui)
        return answer;
    const char* title = miGetMessageUTF8("IDS_SOAP_AUTHENTICATE_TITLE");
    std::string where = std::string(server ? server : "") + "\n" + (realm ? realm : "") + "\n";
    answer.user = ui->response((where + miGetMessageUTF8("IDS_SOAP_AUTHENTICATE_USERNAME")).c_str(),
                               title, "", false);
    if (!answer.user)
        return answer;
    answer.password =
        ui->response(miGetMessageUTF8("IDS_SOAP_AUTHENTICATE_PASSWORD"), title, "", true);
    if (!answer.password) {
        answer.user.reset(); // cancelled
        return answer;
    }
    answer.keep = credentialStore &&
                  mdAlertText(0, 2, kAlertButtonsOKCancel,
                              miGetMessageUTF8("IDS_NETWORK_ADD_TO_KEYCHAIN")) == kAlertResultOK;
    return answer;
}

/// Runs the dialog in a Console/Exec event and reads event.result. A script that fails (no
/// dialog manager, an error in the engine) gives nothing, as Cancel does.
DialogAnswer runDialog(const char* server, const char* realm, bool credentialStore) {
    DialogAnswer answer;
    std::string source = makeAuthDialogScript(server, realm, credentialStore);
    // Marked UCS, so that the server's name reaches the script whatever the host's encoding.
    CQsText units(source.c_str());
    std::string ucs = "\xfe\xff";
    for (char16_t unit : units.units()) {
        ucs += static_cast<char>(unit >> 8);
        ucs += static_cast<char>(unit & 0xff);
    }
    try {
        CES::CurrentOrNewContext context("Console");
        if (!context.get())
            return answer;
        if (!CES::Context(context.get()).global()["app"]["execDialog"].get().isFunction())
            return askOnTheHost(server, realm, credentialStore);
        // Errors of the dialog's script go to the host's handler, as any script's do.
        ESContext scope = context.get();
        int32_t code = 0;
        {
            CES::ValueScope values(scope);
            CES::EventScope event(scope, "Console", "Exec");
            CES::Val result(scope);
            HostFrame frame;
            code = frame.run(
                [&] { event.evaluate(ucs.data(), static_cast<long>(ucs.size()), result); });
            CES::Val chosen = event.result();
            if (chosen.object()) {
                answer.user = propertyText(chosen, "Username");
                answer.password = propertyText(chosen, "Password");
                CES::Val keep = chosen["UsePlatformAuth"];
                answer.keep = keep.type() == kESValBoolean && static_cast<bool>(keep);
            }
        }
        if (code)
            CES::Context(scope).clearException();
    } catch (const CES::Val&) {
        // No engine, or a dialog result that cannot be read: nothing, as Cancel gives.
    } catch (const HostError&) {
    }
    return answer;
}

/// The store's answer at the first attempt; at a later one the stored entry has failed and is
/// forgotten. True when it set the outputs.
bool answerFromStore(const char* server, const char* realm, char** user, char** password,
                     long attempt) {
    CCredStore* store = CCredStore::instance();
    if (!store->isAvailable() || !store->getCredentials(server, realm, user, password))
        return false;
    if (attempt == 1)
        return true;
    store->clearCredentials(server, realm);
    dropSecret(*user);
    dropSecret(*password);
    return false;
}

} // namespace

bool hasOwnCredentials(const CAgg& authenticate) {
    std::optional<std::string> user = entryText(authenticate, "Username");
    std::optional<std::string> password = entryText(authenticate, "Password");
    bool has = user && !user->empty() && password && !password->empty();
    if (password)
        explicit_bzero(password->data(), password->size());
    return has;
}

std::string makeAuthDialogScript(const char* server, const char* realm, bool credentialStore) {
    return fillTemplate(kDialogScript,
                        {{"{cServer}", CES::scriptStringBody(server ? server : "")},
                         {"{cRealm}", CES::scriptStringBody(realm ? realm : "")},
                         {"{bCredentialStore}", credentialStore ? "true" : "false"}});
}

int32_t InteractiveAuthCB(const char* server, const char* realm, char** user, char** password,
                          long attempt, long, void* data) {
    if (!user || !password)
        return 0;
    *user = nullptr;
    *password = nullptr;
    // Three answers at most, the call's own credentials included: a server that refuses them
    // three times will not take them a fourth, and the request then ends in the server's 401.
    if (attempt >= 4)
        return 0;
    if (data) {
        // The request's own credentials.
        const CAgg& authenticate = *static_cast<const CAgg*>(data);
        std::optional<std::string> name = entryText(authenticate, "Username");
        std::optional<std::string> secret = entryText(authenticate, "Password");
        *user = hostCopy(name.value_or(""));
        *password = hostCopy(secret.value_or(""));
        if (secret)
            explicit_bzero(secret->data(), secret->size());
        return *user ? 1 : 0;
    }
    if (answerFromStore(server, realm, user, password, attempt))
        return 1;
    CCredStore* store = CCredStore::instance();
    DialogAnswer answer = runDialog(server, realm, store->isAvailable());
    if (!answer.user)
        return 0;
    *user = hostCopy(*answer.user);
    *password = hostCopy(answer.password.value_or(""));
    if (answer.keep)
        store->setCredentials(server, realm, answer.user->c_str(),
                              answer.password.value_or("").c_str());
    return *user ? 1 : 0;
}

int32_t TrackerAuthCB(const char* server, const char* realm, char** user, char** password,
                      long attempt, long flags, void*) {
    if (!user || !password)
        return 0;
    *user = nullptr;
    *password = nullptr;
    if (answerFromStore(server, realm, user, password, attempt))
        return 1;
    // Without the user looking at this subscription the update fails quietly, to be retried.
    if (!gTrackerDialogTest || !gTrackerDialogTest(server, realm))
        return 0;
    return InteractiveAuthCB(server, realm, user, password, attempt, flags, nullptr);
}

void setTrackerAuthDialogTest(TrackerAuthDialogTest test) {
    gTrackerDialogTest = test;
}
