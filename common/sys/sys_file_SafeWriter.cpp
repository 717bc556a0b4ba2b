#include "sys/sys_file_SafeWriter.h"

#include "foundation/KviError.h"
#include "foundation/str.h"
#include "platform/platform_safefile.h"
#include "sys/file/FileErrors.h"
#include "sys/sys_file.h"

namespace sys::file
{

struct SafeWriter::State
{
    std::wstring path;
    platform::SafeFile file;
};

SafeWriter::SafeWriter() : state_(std::make_unique<State>()) {}
SafeWriter::~SafeWriter() = default;
void SafeWriter::Close() { state_->file.Close(); }

gtl::status SafeWriter::Open(const std::wstring& path)
{
    state_->file.Close();
    state_->path = path;
    if (!IsUsable(path))
        return KviError::File::invalid_path(path);
    bool readOnly = false;
    const unsigned long error = state_->file.Open(path, readOnly);
    return readOnly ? KviError::File::save_over_readonly(path)
                    : Failure(error, path, &KviError::File::write);
}

gtl::status SafeWriter::Write(std::string_view bytes)
{
    const unsigned long error = state_->file.Write(bytes.data(), bytes.size());
    if (error != 0)
        state_->file.Close();
    return Failure(error, state_->path, &KviError::File::write);
}

gtl::status SafeWriter::Commit()
{
    return Failure(state_->file.Commit(), state_->path, &KviError::File::write);
}

gtl::status WriteTextFile(const std::wstring& path, const std::wstring& text)
{
    SafeWriter writer;
    gtl::status written = writer.Open(path);
    if (written.ok())
        written = [&] {
            const str::u8string bytes = str::as_u8string(text);
            return writer.Write({bytes.c_str(), bytes.size()});
        }();
    return written.ok() ? writer.Commit() : written;
}

} // namespace sys::file
