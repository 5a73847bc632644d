#include "values/CESArguments.h"

#include "values/CESInternal.h"

#include <string_view>

using CES::detail::engine;

namespace CES {

Arguments::Arguments(ESContext context, ESArgs args, std::initializer_list<ESParamRec> params)
    : m_args(args) {
    Context scope(context);
    std::vector<ESVal> slots;
    m_values.reserve(params.size());
    for (const ESParamRec& param : params) {
        m_names.emplace_back(param.name);
        m_values.emplace_back(scope);
        slots.push_back(m_values.back().slot());
    }
    m_ok =
        engine().parseArgs(args, params.begin(), static_cast<int32_t>(params.size()), slots.data());
}

Arguments Arguments::byPosition(ESContext context, ESArgs args, int count) {
    Arguments read(args);
    Context scope(context);
    for (int i = 0; i < count; ++i) {
        read.m_names.push_back(std::to_string(i));
        read.m_values.emplace_back(scope);
        engine().getArg(args, i, read.m_values.back().slot());
    }
    return read;
}

const Val& Arguments::operator[](const char* name) const {
    for (size_t i = 0; i < m_names.size(); ++i) {
        if (m_names[i] == name)
            return m_values[i];
    }
    // A name the method does not declare is a fault of the method, not of the script.
    throwInternalException();
}

bool Arguments::has(const char* name) const {
    ESValType type = (*this)[name].type();
    return type != kESValUndefined && type != kESValNull;
}

std::string Arguments::text(const char* name, const char* fallback) const {
    return has(name) ? (*this)[name].text().getString() : std::string(fallback);
}

bool Arguments::flag(const char* name, bool fallback) const {
    return has(name) ? static_cast<bool>((*this)[name]) : fallback;
}

ESObject Arguments::object(const char* name) const {
    if (!has(name))
        return nullptr;
    const Val& value = (*this)[name];
    if (value.type() != kESValObject)
        raiseHostError(kESErrBadArgument);
    return value.object();
}

std::string Arguments::methodName() const {
    return engine().methodName(m_args);
}

void setResult(ESVal result, const Val& value) {
    engine().assignVal(result, value.slot());
}

} // namespace CES
