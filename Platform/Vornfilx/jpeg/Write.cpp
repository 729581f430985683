#include <cmath>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

#include "LongJump.h"
#include "Software.h"
#include "jpeg/Samples.h"

namespace vorn::fil {

namespace {

constexpr size_t kBufferBytes = 16 * 1024;

class JpegWriter final : public ImageWriter {
public:
    JpegWriter(const RowImage& image, std::vector<uint8_t>& bytes, int quality)
        : image_{image}, bytes_{bytes}, quality_{quality}, samples_{image}
    {
    }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;
    ~JpegWriter() override { jpeg_destroy_compress(&codec_); }

    bool Begin() override
    {
        codec_.err = jpeg_std_error(&errors_);
        errors_.error_exit = Escape;
        errors_.output_message = KeepSilent;
        codec_.client_data = this;
        return Guarded([this] {
            jpeg_create_compress(&codec_);
            codec_.dest = &destination_;
            destination_.init_destination = EmptyBuffer;
            destination_.empty_output_buffer = Drain;
            destination_.term_destination = DrainRest;
            Describe();
            jpeg_start_compress(&codec_, TRUE);
            jpeg_write_marker(&codec_, JPEG_COM, reinterpret_cast<const JOCTET*>(kSoftware),
                              sizeof kSoftware - 1);
            DrainRest(&codec_);
        });
    }

    bool WriteRows(const uint8_t* rows, uint32_t count, ptrdiff_t stride) override
    {
        return Guarded([this, rows, count, stride] {
            for (uint32_t i = 0; i < count; ++i) {
                const uint8_t* row = samples_.ToSamples(rows + stride * i);
                auto* samples = const_cast<JSAMPLE*>(row);  // the codec does not write to it
                jpeg_write_scanlines(&codec_, &samples, 1);
            }
            DrainRest(&codec_);
        });
    }

    bool Flush() override { return true; }

    bool End() override
    {
        return Guarded([this] { jpeg_finish_compress(&codec_); });
    }

private:
    static JpegWriter& Self(j_compress_ptr codec) noexcept
    {
        return *static_cast<JpegWriter*>(codec->client_data);
    }

    [[noreturn]] static void Escape(j_common_ptr codec)
    {
        static_cast<JpegWriter*>(codec->client_data)->jump_.Leave(FIL_ERR_OUT_OF_MEMORY);
    }

    static void KeepSilent(j_common_ptr) {}

    static void EmptyBuffer(j_compress_ptr codec)
    {
        codec->dest->next_output_byte = Self(codec).buffer_;
        codec->dest->free_in_buffer = kBufferBytes;
    }

    /** The codec calls it when the buffer is full, whatever it says of the room that is left. */
    static boolean Drain(j_compress_ptr codec)
    {
        Self(codec).Append(kBufferBytes);
        return TRUE;
    }

    static void DrainRest(j_compress_ptr codec)
    {
        Self(codec).Append(kBufferBytes - codec->dest->free_in_buffer);
    }

    void Append(size_t count)
    {
        if (!TryAppend(bytes_, buffer_, count))
            jump_.Leave(FIL_ERR_OUT_OF_MEMORY);
        EmptyBuffer(&codec_);
    }

    /** Calls of the codec, which leaves them by a jump when it fails: they may hold nothing that has a destructor. */
    template <typename Calls>
    bool Guarded(Calls calls)
    {
        const auto work = [calls] {
            calls();
            return FIL_SUCCESS;
        };
        return jump_.Guard(work) == FIL_SUCCESS;
    }

    void Describe()
    {
        codec_.image_width = image_.width;
        codec_.image_height = image_.height;
        const uint32_t channels = samples_.Channels();
        codec_.input_components = static_cast<int>(channels);
        codec_.in_color_space = channels == 1 ? JCS_GRAYSCALE : channels == 4 ? JCS_EXT_BGRX : JCS_EXT_BGR;
        jpeg_set_defaults(&codec_);
        jpeg_set_quality(&codec_, quality_, TRUE);
        if (quality_ >= kFullColorQuality)
            codec_.comp_info[0].h_samp_factor = codec_.comp_info[0].v_samp_factor = 1;
        const auto density = [](double dpi) { return static_cast<UINT16>(std::lround(dpi)); };
        const auto fits = [](double dpi) { return dpi >= 1 && dpi <= 0xFFFF; };
        if (fits(image_.xDpi) && fits(image_.yDpi)) {
            codec_.density_unit = 1;  // dots per inch
            codec_.X_density = density(image_.xDpi);
            codec_.Y_density = density(image_.yDpi);
        }
    }

    RowImage image_;
    std::vector<uint8_t>& bytes_;
    int quality_;
    JpegSamples samples_;
    jpeg_compress_struct codec_{};
    jpeg_error_mgr errors_{};
    jpeg_destination_mgr destination_{};
    LongJump jump_;
    uint8_t buffer_[kBufferBytes];
};

}  // namespace

std::unique_ptr<ImageWriter> CreateJpegWriter(const RowImage& image, std::vector<uint8_t>& bytes, int quality)
{
    return std::make_unique<JpegWriter>(image, bytes, quality);
}

}  // namespace vorn::fil
