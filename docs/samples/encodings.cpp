#include "check.h"

#include <pcm/pcm.hpp>

#include <vector>

static void Decode()
{
    const unsigned char line[] = {0x00, 0x40, 0x00, 0xC0}; // 0.5 and -0.5
    const pcm::Buffer bytes(std::as_bytes(std::span(line)));
    const auto pkt = pcm::Packet::TryDecode(bytes, PCM_ENCODING_INT_16 | PCM_ENCODING_LITTLE_ENDIAN, 2);
    if (!pkt)
        std::puts("not a whole number of frames");
    const auto law = pkt.Encode(PCM_ENCODING_G711_ALAW); // two bytes
    const auto same = pcm::TryConvert(PCM_ENCODING_G711_ALAW, bytes, PCM_ENCODING_INT_16);
    CHECK(pkt.Frames() == 1 && pkt.Samples()[1] == -0.5f);
    CHECK(law.Length() == 2 && same.Bytes()[0] == law.Bytes()[0]);
}

static void Words()
{
    const pcm::Encoding card(PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32 | PCM_ENCODING_PAD_BEFORE);
    const pbInt sample = card.SizeofSample(); // 4
    const pbInt frame = card.SizeofFrame(2);  // 8
    const std::string text = card.ToString(); // PCM_ENCODING_INT_24|PCM_ENCODING_PAD_BEFORE|PCM_ENCODING_PACK_32
    const auto again = pcm::Encoding::FromString(text);
    CHECK(sample == 4 && frame == 8 && again == card);
    CHECK(text == "PCM_ENCODING_INT_24|PCM_ENCODING_PAD_BEFORE|PCM_ENCODING_PACK_32");
}

// The rows of the page's table: 0.5 in each layout.
static void Table()
{
    const struct {
        PCM_ENCODING encoding;
        std::vector<unsigned char> bytes;
    } rows[] = {
        {0, {0x00, 0x00, 0x00, 0x3F}},
        {PCM_ENCODING_FLOAT_32 | PCM_ENCODING_BIG_ENDIAN, {0x3F, 0x00, 0x00, 0x00}},
        {PCM_ENCODING_INT_8, {0x40}},
        {PCM_ENCODING_INT_8 | PCM_ENCODING_UNSIGNED, {0xC0}},
        {PCM_ENCODING_INT_16, {0x00, 0x40}},
        {PCM_ENCODING_INT_16 | PCM_ENCODING_BIG_ENDIAN, {0x40, 0x00}},
        {PCM_ENCODING_INT_16 | PCM_ENCODING_UNSIGNED, {0x00, 0xC0}},
        {PCM_ENCODING_INT_24, {0x00, 0x00, 0x40}},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32, {0x00, 0x00, 0x40, 0x00}},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32 | PCM_ENCODING_PAD_BEFORE, {0x00, 0x00, 0x00, 0x40}},
        {PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32 | PCM_ENCODING_BIG_ENDIAN, {0x00, 0x40, 0x00, 0x00}},
        {PCM_ENCODING_INT_32, {0x00, 0x00, 0x00, 0x40}},
        {PCM_ENCODING_G711_ALAW, {0xA5}},
        {PCM_ENCODING_G711_MULAW, {0x8F}},
    };
    const pcm::Packet half(std::vector<float>{0.5f}, 1);
    for (const auto &row : rows) {
        const auto bytes = half.Encode(row.encoding);
        CHECK(bytes.Length() == static_cast<pbInt>(row.bytes.size()));
        for (std::size_t i = 0; i < row.bytes.size(); ++i)
            CHECK(std::to_integer<int>(bytes.Bytes()[i]) == row.bytes[i]);
    }
}

int main()
{
    const pcm::Module module;
    Decode();
    Words();
    Table();
}
