#include "avi_sample.h"
#include "riff_dump.h"

/// The chunks of an AVI file in turn. What its headers tell of them otherwise becomes a test failure; the indexes are
/// the reader's to check.
struct AVI_CHECK {
    const BYTES& bytes;
    std::vector<SAMPLE_CHUNK> chunks;
    size_t lists = 0;  // with an index of their own

    explicit AVI_CHECK(const BYTES& file) : bytes(file) {
        const std::string dump = riff_dump(bytes);
        for (const char* word : {"cut off", "too many", "missing"})
            EXPECT_EQ(std::string::npos, dump.find(word)) << dump;
        walk(0, bytes.size(), false);
        check_headers();
    }
    uint32_t word(size_t at) const { return riff_u32(bytes, at); }

    void walk(size_t at, size_t end, bool movi) {
        for (; at + 8 <= end; at += (word(at + 4) + 9) & ~size_t{1}) {
            const std::string code = riff_code(bytes, at);
            const bool inside = code == "LIST" && riff_code(bytes, at + 8) == "movi";
            EXPECT_TRUE(!inside || (at + 12) % 2048 == 0);
            if (code == "RIFF" || inside) walk(at + 12, at + 8 + word(at + 4), inside);
            if (movi && code.starts_with("ix"))
                ++lists;
            else if (movi)
                chunks.push_back({word(at), BYTES(&bytes[at] + 8, &bytes[at] + 8 + word(at + 4))});
        }
    }
    void check_headers() const {
        size_t frames = 0, samples = 0;
        for (const SAMPLE_CHUNK& chunk : chunks) {
            frames += chunk.code != FCC_01WB;
            samples += chunk.code == FCC_01WB ? chunk.bytes.size() / 2 : 0;
        }
        EXPECT_EQ(frames, word(0x20 + 16));
        EXPECT_EQ(frames, word(0x6C + 32));
        EXPECT_EQ(samples, word(0x8E8 + 32));
        EXPECT_EQ(lists, word(0xD4 + 12) + word(0x93A + 12)) << "entries of the super indexes";
        for (const size_t super : {0xD4u, 0x93Au}) {
            EXPECT_EQ(word(super) == FCC_INDX, word(super + 12) != 0);
            EXPECT_EQ(0u, word(super + 32 + 16 * word(super + 12))) << "an entry behind the last";
        }
        EXPECT_EQ(lists == 0 ? FCC_JUNK : FCC_LIST, word(0x113A));
    }
};

struct LIMITED_RUN {
    int opened, closed;
    size_t taken = 0;  // chunks for which the writer said yes
    BYTES bytes;
    SAMPLE_MEDIA media;  // what the reader finds
};

static LIMITED_RUN run_limited(const std::vector<SAMPLE_CHUNK>& chunks, size_t limit) {
    const SAMPLE_FILE file("limited.avi");
    const auto context = sample_context();
    const BYTES info = {'I', 'N', 'F', 'O', 'I', 'C', 'M', 'T', 4, 0, 0, 0, 'a', 'b', 'c', 0};
    LIMITED_RUN run;
    {
        const SIZE_LIMIT size_limit(limit);
        run.opened = sample_open(context.get(), file, SAVE_VIDEO | SAVE_AUDIO, info);
        if (run.opened == AVI_OK)
            while (run.taken < chunks.size() && sample_put(context.get(), chunks[run.taken]) == AVI_OK) ++run.taken;
        run.closed = avi_close(context.get());
    }
    run.bytes = file.load();
    run.media = sample_read(file.path);
    return run;
}

static void expect_opens_at_every_limit(const std::vector<SAMPLE_CHUNK>& chunks, size_t step, size_t slack) {
    const size_t whole = run_limited(chunks, 1 << 30).bytes.size();
    for (size_t limit = 1000; limit < whole + step; limit += step) {
        SCOPED_TRACE(limit);
        const LIMITED_RUN run = run_limited(chunks, limit);
        ASSERT_EQ(limit < 6144 ? AVI_NO_FILE : AVI_OK, run.opened);
        if (run.opened != AVI_OK) continue;
        EXPECT_EQ(limit >= whole, run.closed);
        EXPECT_LE(run.bytes.size(), limit);
        const AVI_CHECK check(run.bytes);
        const size_t n = check.chunks.size();
        ASSERT_LE(n, run.taken);
        EXPECT_TRUE(std::equal(check.chunks.begin(), check.chunks.end(), chunks.begin()));
        EXPECT_EQ(sample_media(check.chunks), run.media);
        if (limit >= whole) {
            EXPECT_EQ(chunks.size(), n);
        } else if (n < chunks.size()) {
            EXPECT_GT(run.bytes.size() + avi_chunk_span(chunks[n].bytes.size()) + slack, limit);
        }
        if (::testing::Test::HasFailure()) return;
    }
}

struct AviFullDisk : SAMPLE_TEST {};

TEST_F(AviFullDisk, AFileOpensAsFarAsItGot) {
    for (const int unit : {0, 1, 4096}) {
        avi_writer_set_unit(unit);
        avi_writer_settings.part_limit = settings.before.part_limit;
        expect_opens_at_every_limit(sample_chunks(60, 5), 61, 16 + 24);  // an index entry, the INFO list
        avi_writer_settings.part_limit = 8192;
        // the head of a list up to its first aligned chunk, and indexes
        expect_opens_at_every_limit(sample_chunks(60, 13), 151, 2048 + 32 + 2 * 48);
    }
}

TEST_F(AviFullDisk, WavKeepsWholeSamples) {
    const SAMPLE_FILE file("limited.wav");
    for (const int unit : {0, 1}) {
        for (size_t limit = 40; limit < 5050; limit += 7) {
            avi_writer_set_unit(unit);
            context->audio_header.nBlockAlign = 3;
            {
                const SIZE_LIMIT size_limit(limit);
                const int opened = sample_open(context.get(), file, SAVE_WAV_FILE | SAVE_AUDIO);
                ASSERT_EQ(limit < 46 ? AVI_NO_FILE : AVI_OK, opened);
                if (opened != AVI_OK) continue;
                for (int i = 0; i < 5; ++i) avi_put_audio(context.get(), sample_bytes(1, 999).data(), 999);
                EXPECT_EQ(limit >= 46 + 4995 + 1, avi_close(context.get()));
            }
            const BYTES bytes = file.load();
            const uint32_t size = riff_u32(bytes, 42);
            EXPECT_EQ(0u, size % 3) << limit;
            EXPECT_EQ(46 + size + size % 2, bytes.size()) << limit;
            EXPECT_EQ(bytes.size(), riff_u32(bytes, 4) + 8) << limit;
            EXPECT_GT(bytes.size() + 3 + 3, std::min(limit, size_t{5042})) << limit;
        }
    }
}
