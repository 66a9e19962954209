// The jpeg-encode command: files it writes are read by libjpeg; bad
// arguments and bad inputs give exit status 1 and a message naming the
// problem, and write no output file.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "container/netpbm.h"
#include "tests/examples/zeqcodec/libjpeg_reader.h"
#include "zeqcodec/jpeg_encoder.h"

namespace zeq::test {
namespace {

class JpegEncodeCommand : public testing::Test {
protected:
    void SetUp() override {
        dir_ = testing::TempDir() + "zeqcodec_jpeg_encode_" +
               testing::UnitTest::GetInstance()->current_test_info()->name();
        std::remove(out().c_str());
    }
    void TearDown() override {
        std::remove(out().c_str());
        for (const std::string& p : inputs_) std::remove(p.c_str());
    }
    std::string out() const { return dir_ + "_out.jpg"; }
    std::string input(const std::string& name, const std::vector<uint8_t>& bytes) {
        const std::string path = dir_ + "_" + name;
        std::string error;
        EXPECT_TRUE(container::writeFile(path, bytes, &error)) << error;
        inputs_.push_back(path);
        return path;
    }
    std::string ppm(int32_t width, int32_t height, int32_t channels) {
        container::Image img;
        img.width = width;
        img.height = height;
        img.channels = channels;
        for (int32_t i = 0; i < width * height * channels; ++i)
            img.pixels.push_back(uint8_t(i * 7 + i / 13));
        return input(channels == 1 ? "in.pgm" : "in.ppm", container::formatNetpbm(img));
    }
    // Runs the command; returns its exit status and its stderr.
    int run(const std::vector<std::string>& args, std::string& stderrText) {
        testing::internal::CaptureStderr();
        const int status = zeqcodec::runJpegEncode(args);
        stderrText = testing::internal::GetCapturedStderr();
        return status;
    }
    bool outputExists() const {
        std::FILE* f = std::fopen(out().c_str(), "rb");
        if (f) std::fclose(f);
        return f != nullptr;
    }

private:
    std::string dir_;
    std::vector<std::string> inputs_;
};

TEST_F(JpegEncodeCommand, WritesFilesLibjpegReads) {
    const std::string in = ppm(33, 21, 3), grey = ppm(19, 5, 1);
    const std::vector<std::vector<std::string>> variants = {
        {},
        {"--quality", "90", "--sampling", "444"},
        {"--sampling", "422", "--optimize"},
        {"--progressive", "--restart", "2"},
        {"--threads", "2", "--quality", "60"},
    };
    for (const auto& variant : variants)
        for (const std::string& source : {in, grey}) {
            std::vector<std::string> args = {source, out()};
            args.insert(args.end(), variant.begin(), variant.end());
            std::string err;
            ASSERT_EQ(run(args, err), 0) << err;
            std::vector<uint8_t> file;
            ASSERT_TRUE(container::readFile(out(), file, &err)) << err;
            container::Image decoded;
            ASSERT_TRUE(libjpegPixels(file, decoded, &err)) << err;
            EXPECT_EQ(decoded.width, source == in ? 33 : 19);
        }
    std::string err;
    ASSERT_EQ(run({in, out(), "--lossless", "--predictor", "6"}, err), 0) << err;
}

TEST_F(JpegEncodeCommand, BadArgumentsAndInputsFailWithAMessage) {
    const std::string in = ppm(8, 8, 3);
    const std::string corrupt = input("corrupt.ppm", {'P', '6', '\n', '9', ' ', '9', '\n'});
    struct Case {
        std::vector<std::string> args;
        const char* message;  // part of the expected message
    };
    const Case cases[] = {
        {{}, "expected an input image and an output file"},
        {{in}, "expected an input image and an output file"},
        {{in, out(), "extra"}, "expected an input image and an output file"},
        {{in, out(), "--quality", "0"}, "--quality wants an integer from 1 to 100"},
        {{in, out(), "--quality", "ninety"}, "--quality wants an integer"},
        {{in, out(), "--quality"}, "option --quality needs a value"},
        {{in, out(), "--sampling", "411"}, "--sampling wants 444, 422 or 420"},
        {{in, out(), "--restart", "-3"}, "--restart wants an integer from 0 to 65535"},
        {{in, out(), "--lossless", "--predictor", "9"}, "--predictor wants an integer from 1 to 7"},
        {{in, out(), "--predictor", "2"}, "--predictor is only meaningful with --lossless"},
        {{in, out(), "--lossless", "--progressive"}, "lossless files cannot be progressive"},
        {{in, out(), "--fast"}, "unknown option --fast"},
        {{"/nonexistent/in.ppm", out()}, "/nonexistent/in.ppm"},
        {{corrupt, out()}, "zeqcodec jpeg-encode: "},
        {{in, "/nonexistent/dir/out.jpg"}, "/nonexistent/dir/out.jpg"},
    };
    for (const Case& c : cases) {
        std::string err;
        EXPECT_EQ(run(c.args, err), 1) << c.message;
        EXPECT_EQ(err.rfind("zeqcodec jpeg-encode: ", 0), 0u) << err;
        EXPECT_NE(err.find(c.message), std::string::npos) << err;
        EXPECT_FALSE(outputExists()) << c.message;
    }
}

}  // namespace
}  // namespace zeq::test
