/*
 * Reading a JPEG file by libjpeg.
 */
#include <algorithm>
#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include "LongJump.h"
#include "io/ChunkReader.h"
#include "jpeg/Header.h"
#include "pixels/Pixels.h"

namespace vorn::fil::jpeg {
namespace {

/** Files that come scan by scan are decoded as a whole for each of them; useful ones have ten or so. */
constexpr int kMostScans = 100;

/** Rows that are decoded in one call. */
constexpr uint32_t kRowsAtOnce = 16;

struct MessageRow {
    int message;
    int32_t status;
};

constexpr MessageRow kErrors[] = {
    {JERR_OUT_OF_MEMORY, FIL_ERR_OUT_OF_MEMORY}, {JERR_NO_BACKING_STORE, FIL_ERR_TOO_LARGE},
    {JERR_WIDTH_OVERFLOW, FIL_ERR_TOO_LARGE},    {JERR_IMAGE_TOO_BIG, FIL_ERR_TOO_LARGE},
    {JERR_BAD_PRECISION, FIL_ERR_UNSUPPORTED},   {JERR_CONVERSION_NOTIMPL, FIL_ERR_UNSUPPORTED},
    {JERR_CCIR601_NOTIMPL, FIL_ERR_UNSUPPORTED}, {JERR_FRACT_SAMPLE_NOTIMPL, FIL_ERR_UNSUPPORTED},
    {JERR_SOF_UNSUPPORTED, FIL_ERR_UNSUPPORTED},
};

/** Warnings after which the picture is whole all the same. Every other means pixels that were made up. */
constexpr int kHarmless[] = {JWRN_ADOBE_XFORM, JWRN_BOGUS_PROGRESSION, JWRN_EXTRANEOUS_DATA, JWRN_JFIF_MAJOR};

int32_t StatusOf(int message) noexcept
{
    for (const MessageRow& row : kErrors)
        if (row.message == message)
            return row.status;
    return FIL_ERR_CORRUPT;
}

/** libjpeg on a source. The object stays where it is: libjpeg calls it back. */
class Decoder {
public:
    explicit Decoder(ByteSource& source) noexcept : chunks_{source} { codec_.err = &errors_; }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { jpeg_destroy_decompress(&codec_); }

    int32_t Start(const Header& header) noexcept;
    int32_t ReadRows(const NewImage& image, const Header& header) noexcept;

private:
    int32_t CheckComponents() const noexcept;
    void ReadInto(const UprightRows& upright, const Header& header, uint8_t* row) noexcept;
    bool IsInk() const noexcept { return codec_.out_color_space == JCS_CMYK; }

    static Decoder& Self(j_common_ptr codec) noexcept { return *static_cast<Decoder*>(codec->client_data); }
    static Decoder& Self(j_decompress_ptr codec) noexcept
    {
        return *static_cast<Decoder*>(codec->client_data);
    }

    [[noreturn]] static void OnError(j_common_ptr codec);
    static void OnMessage(j_common_ptr codec, int level);
    static void OnProgress(j_common_ptr codec);
    static void KeepSilent(j_common_ptr) {}
    static void Nothing(j_decompress_ptr) {}
    static boolean Fill(j_decompress_ptr codec);
    static void Skip(j_decompress_ptr codec, long count);

    ChunkReader chunks_;
    LongJump jump_;
    jpeg_decompress_struct codec_{};
    jpeg_error_mgr errors_{};
    jpeg_source_mgr source_{};
    jpeg_progress_mgr progress_{};
};

void Decoder::OnError(j_common_ptr codec)
{
    Self(codec).jump_.Leave(StatusOf(codec->err->msg_code));
}

void Decoder::OnMessage(j_common_ptr codec, int level)
{
    if (level < 0 &&
        std::find(std::begin(kHarmless), std::end(kHarmless), codec->err->msg_code) == std::end(kHarmless))
        Self(codec).jump_.Leave(FIL_ERR_CORRUPT);
}

void Decoder::OnProgress(j_common_ptr codec)
{
    Decoder& self = Self(codec);
    if (self.codec_.input_scan_number > kMostScans)
        self.jump_.Leave(FIL_ERR_UNSUPPORTED);
}

boolean Decoder::Fill(j_decompress_ptr codec)
{
    Decoder& self = Self(codec);
    size_t count = 0;
    if (const int32_t status = self.chunks_.Next(self.source_.next_input_byte, count); status != FIL_SUCCESS)
        self.jump_.Leave(status);
    self.source_.bytes_in_buffer = count;
    return TRUE;
}

void Decoder::Skip(j_decompress_ptr codec, long count)
{
    Decoder& self = Self(codec);
    const size_t wanted = count > 0 ? static_cast<size_t>(count) : 0;
    const size_t here = std::min(wanted, self.source_.bytes_in_buffer);
    self.source_.next_input_byte += here;
    self.source_.bytes_in_buffer -= here;
    self.chunks_.Skip(wanted - here);
}

/** A picture of which a component never came would show colours that nobody stored. */
int32_t Decoder::CheckComponents() const noexcept
{
    for (int i = 0; i < codec_.num_components; ++i)
        if (!codec_.comp_info[i].quant_table || (codec_.coef_bits && codec_.coef_bits[i][0] < 0))
            return FIL_ERR_CORRUPT;
    return FIL_SUCCESS;
}

int32_t Decoder::Start(const Header& header) noexcept
{
    jpeg_std_error(&errors_);
    errors_.error_exit = OnError;
    errors_.emit_message = OnMessage;
    errors_.output_message = KeepSilent;
    codec_.client_data = this;
    const int32_t status = jump_.Guard([this] {
        jpeg_create_decompress(&codec_);
        source_.init_source = Nothing;
        source_.fill_input_buffer = Fill;
        source_.skip_input_data = Skip;
        source_.resync_to_restart = jpeg_resync_to_restart;
        source_.term_source = Nothing;
        codec_.src = &source_;
        progress_.progress_monitor = OnProgress;
        codec_.progress = &progress_;
        codec_.mem->max_memory_to_use = KRN_MAX_IMAGE_BYTES;
        jpeg_read_header(&codec_, TRUE);
        switch (codec_.num_components) {
            case 1:
                codec_.out_color_space = JCS_GRAYSCALE;
                break;
            case 3:
                codec_.out_color_space = JCS_EXT_BGR;
                break;
            default:
                codec_.out_color_space = JCS_CMYK;
        }
        jpeg_start_decompress(&codec_);
        return FIL_SUCCESS;
    });
    if (status != FIL_SUCCESS)
        return status;
    if (codec_.output_width != header.storedWidth || codec_.output_height != header.storedHeight ||
        static_cast<uint32_t>(codec_.num_components) != header.components)
        return FIL_ERR_CORRUPT;
    return CheckComponents();
}

/** Runs under Guard: owns nothing. */
void Decoder::ReadInto(const UprightRows& upright, const Header& header, uint8_t* row) noexcept
{
    const bool direct = upright.Direct(0) && !IsInk();
    while (codec_.output_scanline < header.storedHeight) {
        const uint32_t y = codec_.output_scanline;
        JSAMPROW rows[kRowsAtOnce] = {row};
        const uint32_t count = direct ? std::min(kRowsAtOnce, header.storedHeight - y) : 1;
        for (uint32_t i = 0; direct && i < count; ++i)
            rows[i] = upright.Direct(y + i);
        jpeg_read_scanlines(&codec_, rows, count);
        if (IsInk())
            CmykToBgr(row, row, header.storedWidth, codec_.saw_Adobe_marker);
        if (!direct)
            upright.Put(row, y);
    }
    jpeg_finish_decompress(&codec_);
}

int32_t Decoder::ReadRows(const NewImage& image, const Header& header) noexcept
{
    const UprightRows upright{image, header.page, header.orientation};
    const Buffer row{uint64_t{header.storedWidth} * 4};
    if (!row.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    uint8_t* const bytes = row.Get();
    return jump_.Guard([this, &upright, &header, bytes] {
        ReadInto(upright, header, bytes);
        return FIL_SUCCESS;
    });
}

}  // namespace

int32_t Load(ByteSource& source, const Header& header, BitmapHandle& bitmap) noexcept
{
    Decoder decoder{source};
    if (const int32_t status = decoder.Start(header); status != FIL_SUCCESS)
        return status;
    NewImage image;
    if (const int32_t status = image.Create(header.page); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = decoder.ReadRows(image, header); status != FIL_SUCCESS)
        return status;
    return image.HandOver(bitmap);
}

}  // namespace vorn::fil::jpeg
