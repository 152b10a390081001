#include <algorithm>

#include "avi_sample.h"
#include "riff_dump.h"

/// Reads an AVI file with all its indexes. What does not agree with the chunks in `movi` becomes a test failure.
struct AVI_CHECK {
    const BYTES& bytes;
    std::vector<SAMPLE_CHUNK> chunks;
    std::vector<size_t> positions;  // of their headers
    std::vector<size_t> index;      // positions of ix00, ix01

    explicit AVI_CHECK(const BYTES& file) : bytes(file) {
        const std::string dump = riff_dump(bytes);
        for (const char* word : {"cut off", "too many", "missing"})
            EXPECT_EQ(std::string::npos, dump.find(word)) << dump;
        walk(0, bytes.size(), 0, 0);
        check_headers();
    }
    uint32_t word(size_t at) const { return riff_u32(bytes, at); }

    void walk(size_t at, size_t end, size_t movi, size_t first) {
        size_t data = 0, data_first = 0;
        for (; at + 8 <= end; at += (word(at + 4) + 9) & ~size_t{1}) {
            const std::string code = riff_code(bytes, at);
            if (code == "RIFF") walk(at + 12, at + 8 + word(at + 4), 0, 0);
            if (code == "LIST" && riff_code(bytes, at + 8) == "movi") {
                data = at + 8;
                data_first = chunks.size();
                EXPECT_EQ(0u, (at + 12) % 2048);
                walk(at + 12, at + 8 + word(at + 4), data, data_first);
            }
            if (code == "idx1") check_old_index(at, data, data_first);
            if (movi && code.substr(0, 2) == "ix") check_standard_index(at, first);
            if (movi && code.substr(0, 2) != "ix") {
                positions.push_back(at);
                chunks.push_back({word(at), BYTES(&bytes[at] + 8, &bytes[at] + 8 + word(at + 4))});
            }
        }
    }
    void check_old_index(size_t at, size_t movi, size_t first) const {
        ASSERT_EQ((chunks.size() - first) * 16, word(at + 4));
        for (size_t i = first, entry = at + 8; i < chunks.size(); ++i, entry += 16) {
            EXPECT_EQ(chunks[i].code, word(entry));
            EXPECT_EQ(chunks[i].code == FCC_00DC ? 0u : 16u, word(entry + 4));
            EXPECT_EQ(positions[i] - movi, word(entry + 8));
            EXPECT_EQ(chunks[i].bytes.size(), word(entry + 12));
        }
    }
    void check_standard_index(size_t at, size_t first) {
        index.push_back(at);
        const bool audio = word(at) == FCC_IX01;
        size_t entry = at + 32;
        for (size_t i = first; i < chunks.size(); ++i) {
            if ((chunks[i].code == FCC_01WB) != audio) continue;
            EXPECT_EQ(positions[i] + 8, word(at + 20) + word(entry));
            EXPECT_EQ(chunks[i].bytes.size() | (chunks[i].code == FCC_00DC ? 0x80000000 : 0), word(entry + 4));
            entry += 8;
        }
        EXPECT_EQ(word(at + 12), (entry - at - 32) / 8);
        EXPECT_EQ(word(at + 4) + 8, entry + 8 - at);
    }
    void check_headers() {
        size_t frames = 0, samples = 0;
        for (const SAMPLE_CHUNK& chunk : chunks) {
            frames += chunk.code != FCC_01WB;
            samples += chunk.code == FCC_01WB ? chunk.bytes.size() / 2 : 0;
        }
        EXPECT_EQ(frames, word(0x20 + 16));
        EXPECT_EQ(frames, word(0x6C + 32));
        EXPECT_EQ(samples, word(0x8E8 + 32));
        std::vector<size_t> entries;
        for (const size_t super : {0xD4u, 0x93Au}) {
            const bool used = word(super) == FCC_INDX;
            for (uint32_t i = 0; i < word(super + 12); ++i) entries.push_back(word(super + 32 + 16 * i));
            EXPECT_EQ(used, word(super + 12) != 0);
            EXPECT_EQ(0u, word(super + 32 + 16 * word(super + 12))) << "an entry behind the last";
        }
        std::sort(entries.begin(), entries.end());
        EXPECT_EQ(index, entries);
        EXPECT_EQ(index.empty() ? FCC_JUNK : FCC_LIST, word(0x113A));
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
        run.opened = avi_open(context.get(), file.path.c_str(), SAVE_VIDEO | SAVE_AUDIO, info.data(), info.size());
        if (run.opened == AVI_OK) {
            while (run.taken < chunks.size() && sample_put(context.get(), chunks[run.taken]) == AVI_OK) ++run.taken;
        }
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

TEST(AviFullDisk, PlainFileOpensAsFarAsItGot) {
    const SAMPLE_SETTINGS settings;
    for (const int unit : {0, 1}) {
        avi_writer_set_unit(unit);
        expect_opens_at_every_limit(sample_chunks(60, 5), 61, 16 + 24);  // an index entry, the INFO list
    }
}

TEST(AviFullDisk, SplitFileOpensAsFarAsItGot) {
    const SAMPLE_SETTINGS settings;
    avi_writer_settings.part_limit = 8192;
    for (const int unit : {0, 1, 4096}) {
        avi_writer_set_unit(unit);
        // the head of a list up to its first aligned chunk, and indexes
        expect_opens_at_every_limit(sample_chunks(60, 13), 151, 2048 + 32 + 2 * 48);
    }
}

TEST(AviFullDisk, WavKeepsWholeSamples) {
    const SAMPLE_SETTINGS settings;
    const SAMPLE_FILE file("limited.wav");
    for (const int unit : {0, 1}) {
        for (size_t limit = 40; limit < 5050; limit += 7) {
            avi_writer_set_unit(unit);
            const auto context = sample_context();
            context->audio_header.nBlockAlign = 3;
            {
                const SIZE_LIMIT size_limit(limit);
                const int opened = avi_open(context.get(), file.path.c_str(), SAVE_WAV_FILE | SAVE_AUDIO, nullptr, 0);
                ASSERT_EQ(limit < 46 ? AVI_NO_FILE : AVI_OK, opened);
                if (opened != AVI_OK) continue;
                const BYTES sound = sample_bytes(1, 999);
                for (int i = 0; i < 5; ++i) avi_put_audio(context.get(), sound.data(), sound.size());
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
