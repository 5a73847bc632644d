// Streams that run another stream through a filter, and the one-shot string forms.
#include "frame/HostError.h"
#include "values/Filters.h"
#include "values/QsStm.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace {

// The output room the stream hands its filter for each fragment, as a host's procedural stream
// does with its fixed buffer. The filter takes getFragmentSize of it in input.
constexpr long kFragmentRoom = 8192;

std::unique_ptr<CFilter> newFilter(FilterEncoding encoding, bool encode) {
    if (encoding == kFilterHex)
        return encode ? std::unique_ptr<CFilter>(new CHexEncoder)
                      : std::unique_ptr<CFilter>(new CHexDecoder);
    return encode ? std::unique_ptr<CFilter>(new CBase64Encoder)
                  : std::unique_ptr<CFilter>(new CBase64Decoder);
}

// The state behind one filter stream: the filter (which holds the coded stream) and the
// fragment buffers, kept between calls so that coding a long stream allocates once.
struct FilterStream {
    std::unique_ptr<CFilter> filter;
    std::string in;
    std::string out;
    size_t delivered = 0; // bytes of out already given to the reader
    bool ended = false;   // the coded stream has given its last byte
    bool writing = false;
};

long readFiltered(char* buffer, long count, void* data) {
    auto& state = *static_cast<FilterStream*>(data);
    long given = 0;
    while (given < count) {
        if (state.delivered < state.out.size()) {
            size_t n =
                std::min(state.out.size() - state.delivered, static_cast<size_t>(count - given));
            std::memcpy(buffer + given, state.out.data() + state.delivered, n);
            state.delivered += n;
            given += static_cast<long>(n);
            continue;
        }
        if (state.ended)
            break;
        state.delivered = 0;
        long take = state.filter->getFragmentSize(kFragmentRoom);
        state.in.resize(static_cast<size_t>(take));
        long n = QsStmRead(state.filter->stream(), state.in.data(), take);
        if (n <= 0) {
            state.ended = true;
            state.in.clear();
            state.out.clear();
            if (state.filter->shouldFlush())
                state.filter->processFragment(state.in, state.out);
            continue;
        }
        state.in.resize(static_cast<size_t>(n));
        state.filter->processFragment(state.in, state.out);
    }
    return given;
}

bool writeOut(FilterStream& state) {
    long length = static_cast<long>(state.out.size());
    return length == 0 || QsStmWrite(state.filter->stream(), state.out.data(), length) == length;
}

long writeFiltered(const char* buffer, long count, void* data) {
    auto& state = *static_cast<FilterStream*>(data);
    long take = std::max(state.filter->getFragmentSize(kFragmentRoom), 1L);
    for (long done = 0; done < count; done += take) {
        state.in.assign(buffer + done, static_cast<size_t>(std::min(take, count - done)));
        state.filter->processFragment(state.in, state.out);
        if (!writeOut(state))
            return -1;
    }
    return count;
}

void closeFiltered(void* data) {
    std::unique_ptr<FilterStream> state(static_cast<FilterStream*>(data));
    if (state->writing && state->filter->shouldFlush()) {
        state->in.clear();
        state->filter->processFragment(state->in, state->out);
        writeOut(*state);
    }
    if (state->filter->closesStream())
        QsStmClose(state->filter->stream());
}

QsStm openFilterStream(QsStm stream, FilterEncoding encoding, unsigned short closeStream,
                       bool encode, bool writing) {
    if (!stream)
        return nullptr;
    try {
        auto state = std::make_unique<FilterStream>();
        state->filter = newFilter(encoding, encode);
        state->filter->bind(stream, closeStream);
        state->writing = writing;
        QsStm filtered = writing ? QsProcStmWrOpen(writeFiltered, closeFiltered, state.get())
                                 : QsProcStmRdOpen(readFiltered, closeFiltered, state.get());
        state.release();
        return filtered;
    } catch (const std::bad_alloc&) {
        raiseHostError(kHostErrNoMemory);
    }
}

CEStr codeString(const CEStr& text, FilterEncoding encoding, bool encode) {
    try {
        std::unique_ptr<CFilter> filter = newFilter(encoding, encode);
        std::string in(text.isNull() ? "" : EStrGetBytes(text),
                       text.isNull() ? 0 : static_cast<size_t>(EStrGetLen(text)));
        std::string out;
        filter->processFragment(in, out);
        if (filter->shouldFlush()) {
            std::string none, tail;
            filter->processFragment(none, tail);
            out += tail;
        }
        CEStr result = CEStr::adopt(EStrNewSize(0, kEStrPDFDoc));
        EStrSetBytesWithSize(result, out.data(), static_cast<long>(out.size()), kEStrPDFDoc);
        return result;
    } catch (const std::bad_alloc&) {
        raiseHostError(kHostErrNoMemory);
    }
}

} // namespace

CEStr EncodeString(const CEStr& text, FilterEncoding encoding) {
    return codeString(text, encoding, true);
}

CEStr DecodeString(const CEStr& text, FilterEncoding encoding) {
    return codeString(text, encoding, false);
}

QsStm EncodeQsStmRd(QsStm stream, FilterEncoding encoding, unsigned short closeStream) {
    return openFilterStream(stream, encoding, closeStream, true, false);
}

QsStm EncodeQsStmWr(QsStm stream, FilterEncoding encoding, unsigned short closeStream) {
    return openFilterStream(stream, encoding, closeStream, true, true);
}

QsStm DecodeQsStmRd(QsStm stream, FilterEncoding encoding, unsigned short closeStream) {
    return openFilterStream(stream, encoding, closeStream, false, false);
}

QsStm DecodeQsStmWr(QsStm stream, FilterEncoding encoding, unsigned short closeStream) {
    return openFilterStream(stream, encoding, closeStream, false, true);
}
