#include "sys/sys_file_InputStream.h"

#include "foundation/KviError.h"
#include "platform/platform_inputfile.h"
#include "sys/file/FileErrors.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace sys::file
{
namespace
{
constexpr std::size_t kBuffer = 65536;

class FileInputStream : public IInputStream
{
public:
    FileInputStream(const std::wstring& path, bool shared)
        : path_(path), usable_(IsUsable(path)), error_(usable_ ? file_.Open(path, shared) : 0)
    {
    }

    gtl::status State() const override
    {
        if (!usable_)
            return KviError::File::invalid_path(path_);
        return FailureOfExisting(error_, path_, &KviError::File::open);
    }

    gtl::status Read(void* buffer, unsigned long size, unsigned long& got) override
    {
        got = 0;
        if (!usable_ || error_ != 0)
            return State();
        auto* out = static_cast<char*>(buffer);
        while (got < size)
        {
            if (next_ == buffer_.size())
            {
                // Reads of at least the buffer's size bypass it.
                if (size - got >= kBuffer)
                    return ReadDirectly(out + got, size - got, got);
                if (const unsigned long error = Fill(); error != 0)
                    return Failure(error, path_, &KviError::File::read);
                if (buffer_.empty())
                    return {};
            }
            const std::size_t n = std::min<std::size_t>(size - got, buffer_.size() - next_);
            std::memcpy(out + got, buffer_.data() + next_, n);
            next_ += n;
            got += static_cast<unsigned long>(n);
        }
        return {};
    }

    void Seek(std::uint64_t position) override
    {
        buffer_.clear();
        next_ = 0;
        file_.Seek(position);
    }

    std::uint64_t Position() const override { return file_.Position() - (buffer_.size() - next_); }

    gtl::status Size(std::uint64_t& size) const override
    {
        if (!usable_ || error_ != 0)
            return State();
        return Failure(file_.Size(size), path_, &KviError::File::read);
    }

    const std::wstring& Name() const override { return path_; }

private:
    unsigned long Fill()
    {
        buffer_.resize(kBuffer);
        std::size_t n = 0;
        const unsigned long error = file_.Read(buffer_.data(), kBuffer, n);
        buffer_.resize(n);
        next_ = 0;
        return n > 0 ? 0 : error; // return the bytes first: the next fill meets the error again
    }

    gtl::status ReadDirectly(char* out, unsigned long size, unsigned long& got)
    {
        std::size_t n = 0;
        const unsigned long error = file_.Read(out, size, n);
        got += static_cast<unsigned long>(n);
        return Failure(error, path_, &KviError::File::read);
    }

    std::wstring path_;
    platform::InputFile file_;
    bool usable_;
    unsigned long error_; // of opening
    std::vector<char> buffer_;
    std::size_t next_ = 0; // unread from here on
};

class MemoryInputStream : public IInputStream
{
public:
    MemoryInputStream(const std::wstring& name, const void* data, unsigned long size)
        : name_(name), data_(static_cast<const char*>(data)), size_(size)
    {
    }

    gtl::status State() const override { return {}; }

    gtl::status Read(void* buffer, unsigned long size, unsigned long& got) override
    {
        got = position_ < size_ ? std::min(size, static_cast<unsigned long>(size_ - position_)) : 0;
        if (got > 0)
            std::memcpy(buffer, data_ + position_, got);
        position_ += got;
        return {};
    }

    void Seek(std::uint64_t position) override { position_ = position; }
    std::uint64_t Position() const override { return position_; }

    gtl::status Size(std::uint64_t& size) const override
    {
        size = size_;
        return {};
    }

    const std::wstring& Name() const override { return name_; }

private:
    std::wstring name_;
    const char* data_;
    std::uint64_t size_, position_ = 0;
};
} // namespace

InputStream MakeFileInputStream(const std::wstring& path)
{
    return InputStream(new FileInputStream(path, false));
}

InputStream MakeSharedFileInputStream(const std::wstring& path)
{
    return InputStream(new FileInputStream(path, true));
}

InputStream MakeMemoryInputStream(const std::wstring& name, const void* data, unsigned long size)
{
    return InputStream(new MemoryInputStream(name, data, size));
}

} // namespace sys::file
