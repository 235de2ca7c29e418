// PNG files, by libpng, where there is one to link.
#include "sim/picture_file.h"

#if defined(ZERIX_SIM_HAS_PNG)

#include <csetjmp>
#include <cstring>
#include <utility>

#include <png.h>

namespace zerix::sim {
namespace {

// Where libpng leaves by a jump. Nothing here needs a destructor.
struct Job {
    std::string_view rest;
    png_structp png = nullptr;
    png_infop info = nullptr;
};

void OnError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void OnWarning(png_structp, png_const_charp) {}

void OnRead(png_structp png, png_bytep target, size_t count)
{
    auto &job = *static_cast<Job *>(png_get_io_ptr(png));
    if (count > job.rest.size())
        png_error(png, "cut");
    std::memcpy(target, job.rest.data(), count);
    job.rest.remove_prefix(count);
}

// Red, green and blue of 8 bits, whatever the file has; transparency is left out.
bool ReadHeader(Job &job, uint32_t *width, uint32_t *height)
{
    if (setjmp(png_jmpbuf(job.png)) != 0)
        return false;
    png_set_read_fn(job.png, &job, OnRead);
    png_set_user_limits(job.png, kLargestSide, kLargestSide);
    png_read_info(job.png, job.info);
    *width = png_get_image_width(job.png, job.info);
    *height = png_get_image_height(job.png, job.info);
    png_set_expand(job.png);
    png_set_strip_16(job.png);
    png_set_strip_alpha(job.png);
    png_set_gray_to_rgb(job.png);
    png_set_interlace_handling(job.png);
    png_read_update_info(job.png, job.info);
    return IsDecodable(*width, *height) &&
           png_get_rowbytes(job.png, job.info) == size_t{*width} * 3;
}

bool ReadRows(Job &job, png_bytepp rows)
{
    if (setjmp(png_jmpbuf(job.png)) != 0)
        return false;
    png_read_image(job.png, rows);
    png_read_end(job.png, nullptr);
    return true;
}

bool Decode(Job &job, DecodedPicture *picture)
{
    DecodedPicture read;
    if (!ReadHeader(job, &read.width, &read.height))
        return false;
    read.levels.resize(size_t{read.width} * read.height * 3);
    std::vector<png_bytep> rows(read.height);
    for (uint32_t row = 0; row < read.height; ++row)
        rows[row] = read.levels.data() + size_t{row} * read.width * 3;
    if (!ReadRows(job, rows.data()))
        return false;
    *picture = std::move(read);
    return true;
}

// Frees what libpng holds, also where memory for the picture is refused.
class Owner {
public:
    explicit Owner(Job &job) : m_job(job) {}
    ~Owner() { png_destroy_read_struct(&m_job.png, &m_job.info, nullptr); }
    Owner(const Owner &) = delete;
    Owner &operator=(const Owner &) = delete;

private:
    Job &m_job;
};

} // namespace

bool DecodePng(std::string_view file, DecodedPicture *picture)
{
    Job job{.rest = file,
            .png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning)};
    if (job.png == nullptr)
        return false;
    const Owner owner(job);
    job.info = png_create_info_struct(job.png);
    return job.info != nullptr && Decode(job, picture);
}

} // namespace zerix::sim

#else

namespace zerix::sim {

bool DecodePng(std::string_view, DecodedPicture *) { return false; }

} // namespace zerix::sim

#endif
