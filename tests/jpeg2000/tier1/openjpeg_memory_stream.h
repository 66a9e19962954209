// An in-memory stream for libopenjp2, shared by the tier-1 oracle tests
// (linked against the library) and the code-block benchmark (which resolves
// the library at run time). Include after the libopenjp2 header.
#ifndef ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_MEMORY_STREAM_H
#define ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_MEMORY_STREAM_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zeq::test::t1 {

struct MemoryStream {
    std::vector<uint8_t> bytes;
    size_t position = 0;

    static OPJ_SIZE_T read(void* buf, OPJ_SIZE_T n, void* user) {
        auto* m = static_cast<MemoryStream*>(user);
        const size_t left = m->bytes.size() - m->position;
        if (left == 0) return static_cast<OPJ_SIZE_T>(-1);
        n = std::min<size_t>(n, left);
        std::memcpy(buf, m->bytes.data() + m->position, n);
        m->position += n;
        return n;
    }
    static OPJ_SIZE_T write(void* buf, OPJ_SIZE_T n, void* user) {
        auto* m = static_cast<MemoryStream*>(user);
        if (m->bytes.size() < m->position + n) m->bytes.resize(m->position + n);
        std::memcpy(m->bytes.data() + m->position, buf, n);
        m->position += n;
        return n;
    }
    static OPJ_OFF_T skip(OPJ_OFF_T n, void* user) {
        auto* m = static_cast<MemoryStream*>(user);
        m->position = static_cast<size_t>(static_cast<OPJ_OFF_T>(m->position) + n);
        return n;
    }
    static OPJ_BOOL seek(OPJ_OFF_T n, void* user) {
        static_cast<MemoryStream*>(user)->position = static_cast<size_t>(n);
        return OPJ_TRUE;
    }

    // `api` holds the stream functions under their libopenjp2 names.
    template <class Api>
    opj_stream_t* open(const Api& api, bool input) {
        opj_stream_t* s = api.opj_stream_create(1 << 16, input ? OPJ_TRUE : OPJ_FALSE);
        api.opj_stream_set_user_data(s, this, nullptr);
        api.opj_stream_set_user_data_length(s, bytes.size());
        api.opj_stream_set_read_function(s, read);
        api.opj_stream_set_write_function(s, write);
        api.opj_stream_set_skip_function(s, skip);
        api.opj_stream_set_seek_function(s, seek);
        return s;
    }
};

}  // namespace zeq::test::t1

#endif  // ZEQ_TESTS_JPEG2000_TIER1_OPENJPEG_MEMORY_STREAM_H
