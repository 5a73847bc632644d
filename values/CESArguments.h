// The arguments of a native method, read the two ways scripts give them.
#pragma once

#include "values/CES.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace CES {

/// The arguments of one call of a native method, by parameter name. A script gives them in
/// order, or as the properties of one object argument that has at least one of the names.
class Arguments {
public:
    /// Reads the arguments. When a required one is missing the engine's bad-argument error is
    /// set and ok() answers false: the method then returns false.
    Arguments(ESContext context, ESArgs args, std::initializer_list<ESParamRec> params);
    /// Reads the first count arguments by position only, for methods whose one object argument
    /// is a value of its own rather than a bag of named arguments. Their names are "0", "1"...
    static Arguments byPosition(ESContext context, ESArgs args, int count);

    /// Whether every required argument was given.
    bool ok() const { return m_ok; }
    /// The argument of the parameter; undefined when it was not given.
    const Val& operator[](const char* name) const;
    /// Given, and neither undefined nor null.
    bool has(const char* name) const;
    /// The argument's text, or the fallback when it is not given.
    std::string text(const char* name, const char* fallback = "") const;
    /// The argument by the script's own truth, or the fallback when it is not given.
    bool flag(const char* name, bool fallback) const;
    /// The object of an object argument, or null when it is not given. Any other value fails
    /// the call with the engine's bad-argument error.
    ESObject object(const char* name) const;
    /// The name under which the running method was added.
    std::string methodName() const;

private:
    explicit Arguments(ESArgs args) : m_args(args) {}

    ESArgs m_args;
    std::vector<std::string> m_names;
    std::vector<Val> m_values;
    bool m_ok = true;
};

/// Sets a native method's or getter's result slot to the value.
void setResult(ESVal result, const Val& value);

} // namespace CES
