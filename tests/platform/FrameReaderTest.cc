#include "zef/net/FrameReader.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using zef::net::FrameReader;

TEST(FrameReaderTest, FramesSurviveAnySplitOfTheStream) {
    const std::string stream = FrameReader::Encode("one") + FrameReader::Encode("") +
                               FrameReader::Encode(std::string(70000, 'x'));
    EXPECT_EQ(stream.substr(0, 7), std::string("\x00\x00\x00\x03one", 7));
    for (size_t chunk : {1u, 3u, 4u, 5u, 4096u}) {
        FrameReader reader(1 << 20);
        std::vector<std::string> frames;
        std::string frame;
        for (size_t at = 0; at < stream.size(); at += chunk) {
            const size_t size = std::min(chunk, stream.size() - at);
            reader.Append(stream.data() + at, size);
            while (reader.Next(frame) == FrameReader::Status::Frame) {
                frames.push_back(frame);
            }
        }
        ASSERT_EQ(frames.size(), 3u) << "chunk " << chunk;
        EXPECT_EQ(frames[0], "one");
        EXPECT_EQ(frames[1], "");
        EXPECT_EQ(frames[2].size(), 70000u);
    }
}

TEST(FrameReaderTest, AnOversizedLengthBreaksTheStreamForGood) {
    FrameReader reader(16);
    const std::string big = FrameReader::Encode(std::string(17, 'x'));
    reader.Append(big.data(), big.size());
    std::string frame;
    EXPECT_EQ(reader.Next(frame), FrameReader::Status::TooLarge);
    const std::string small = FrameReader::Encode("ok");
    reader.Append(small.data(), small.size());
    EXPECT_EQ(reader.Next(frame), FrameReader::Status::TooLarge);
}

TEST(FrameReaderTest, RandomBytesNeverYieldMoreThanTheyHold) {
    std::mt19937 random(42);
    for (int round = 0; round < 2000; ++round) {
        FrameReader reader(1024);
        std::string bytes(random() % 64, '\0');
        for (char& c : bytes) {
            c = static_cast<char>(random());
        }
        reader.Append(bytes.data(), bytes.size());
        std::string frame;
        size_t consumed = 0;
        while (reader.Next(frame) == FrameReader::Status::Frame) {
            consumed += 4 + frame.size();
        }
        EXPECT_LE(consumed, bytes.size());
    }
}

}  // namespace
