#include "output/codec_headers.h"

#include "vantel_formats.h"

using BYTES = std::vector<uint8_t>;

static constexpr uint32_t AVC1 = VANTEL_FOURCC('a', 'v', 'c', '1'), XVID = VANTEL_FOURCC('x', 'v', 'i', 'd');

static BYTES block(const BYTES& extra) {
    BYTES format(sizeof(BITMAPINFOHEADER));
    format.insert(format.end(), extra.begin(), extra.end());
    return format;
}
static BYTES headers_in(CODEC_HEADERS_FORM form, const BYTES& packet) {
    const auto headers = codec_headers_of_packet(form, packet);
    return {headers.begin(), headers.end()};
}

TEST(CodecHeaders, RecordsOfMp4GiveTheirSetsAndNothingBehindThem) {
    const BYTES record = {1, 100, 0, 10, 0xFD, 0xE1, 0, 3, 0x67, 1, 2, 2, 0, 2, 0x68, 9, 0, 1, 0x68};
    const CODEC_HEADERS_FORM form = codec_headers_form(AVC1, block(record));
    ASSERT_EQ(form, (CODEC_HEADERS_FORM{CODEC_HEADERS_H264, 2}));
    EXPECT_EQ(codec_headers_of_format(form, block(record)), (BYTES{0, 3, 0x67, 1, 2, 0, 2, 0x68, 9, 0, 1, 0x68}));
    for (size_t n = 0; n < record.size(); ++n)
        EXPECT_TRUE(codec_headers_of_format(form, block({record.begin(), record.begin() + ptrdiff_t(n)})).empty()) << n;
    for (size_t n = 0; n < sizeof(BITMAPINFOHEADER); ++n)
        EXPECT_EQ(codec_headers_form(AVC1, BYTES(n)).length_bytes, 0u);

    const BYTES packet = {0, 0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x68, 9, 0, 0, 0, 1, 0x65, 7, 7};
    BYTES units;
    ASSERT_TRUE(codec_headers_reframe(form, packet, &units));
    EXPECT_EQ(units, (BYTES{0, 3, 0x67, 1, 2, 0, 2, 0x68, 9, 0, 3, 0x65, 7, 7}));
    EXPECT_EQ(headers_in(form, units), (BYTES{0, 3, 0x67, 1, 2, 0, 2, 0x68, 9}));
    EXPECT_EQ(headers_in(form, {0, 3, 0x65, 7, 7}), BYTES{});
    EXPECT_EQ(headers_in(form, {0, 3, 0x67, 1, 2, 0xFF, 0xFF, 0x65}), (BYTES{0, 3, 0x67, 1, 2, 0xFF, 0xFF, 0x65}));
    EXPECT_FALSE(codec_headers_reframe(form, {}, &units));
    BYTES large(70000, 1);
    large[0] = large[1] = 0;
    EXPECT_FALSE(codec_headers_reframe(form, large, &units)) << "longer than two bytes can say";
    EXPECT_TRUE(codec_headers_reframe({CODEC_HEADERS_H264, 4}, large, &units));
}

TEST(CodecHeaders, StartCodesTellHeadersFromPictures) {
    const BYTES sets = {0, 0, 0, 1, 0x67, 5, 0, 0, 1, 0x68, 6}, volume = {0, 0, 1, 0xB0, 1, 0, 0, 1, 0x20, 8};
    const struct {
        uint32_t handler;
        BYTES headers, picture;
    } cases[] = {{VANTEL_FOURCC('H', '2', '6', '4'), sets, {0, 0, 0, 1, 0x65, 4, 4}},
                 {XVID, volume, {0, 0, 1, 0xB3, 2, 0, 0, 1, 0xB6, 4}}};
    for (const auto& c : cases) {
        BYTES filled = c.headers, whole = c.headers;
        filled.push_back(0);  // blocks are often made even
        whole.insert(whole.end(), c.picture.begin(), c.picture.end());
        const CODEC_HEADERS_FORM form = codec_headers_form(c.handler, block(filled));
        EXPECT_EQ(form.length_bytes, 0u);
        EXPECT_EQ(codec_headers_of_format(form, block(filled)), c.headers);
        EXPECT_EQ(headers_in(form, whole), c.headers);
        EXPECT_EQ(headers_in(form, c.picture), BYTES{});
        for (size_t n = 0; n < whole.size(); ++n) headers_in(form, {whole.begin(), whole.begin() + ptrdiff_t(n)});
    }
}
