// A set of received parts of a reply, by name, through which a reader binds the attachments
// that a SOAP body refers to.
#pragma once

#include "frame/host/QsStmRec.h"
#include "values/EStr.h"

#include <vector>

class CPartResolver {
public:
    virtual ~CPartResolver() = default;

    /// A new read stream over the part's data, which the caller closes; null for no such part.
    virtual QsStm getPart(const _EStrRec* name) = 0;
    /// Whether there is a part of that name. Names are Content-Id values, angle brackets
    /// included.
    virtual bool hasPart(const _EStrRec* name) = 0;
    /// The names of the parts, in the order they came.
    virtual const std::vector<CEStr>& getPartNames() = 0;
};
