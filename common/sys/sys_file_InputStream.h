/// @file
/// Bytes to read, from a file or from memory.
#pragma once

#include "foundation/gtl_status.h"
#include "foundation/kvi_export.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

namespace sys::file
{

/// A readable source of bytes, counted by the InputStream handles to it.
///
/// Threads: one at a time for reading; handles may be copied and dropped on any.
class KVI_API IInputStream // NOLINT(cppcoreguidelines-virtual-class-destructor)
{
public:
    IInputStream(const IInputStream&) = delete;
    IInputStream& operator=(const IInputStream&) = delete;

    /// Whether the source could be opened; when not, why, and every Read gives the same.
    virtual gtl::status State() const = 0;
    /// Reads up to @p size bytes; fewer only at the end.
    /// @param[out] got  the bytes read, also before a failure
    virtual gtl::status Read(void* buffer, unsigned long size, unsigned long& got) = 0;
    /// Sets where the next Read begins; past the end it reads nothing.
    virtual void Seek(std::uint64_t position) = 0;
    /// Where the next Read begins.
    virtual std::uint64_t Position() const = 0;
    /// Bytes in the source now.
    virtual gtl::status Size(std::uint64_t& size) const = 0;
    /// The path of the file, or the name of the buffer.
    virtual const std::wstring& Name() const = 0;

    /// @{
    /// One handle more or less; the last one destroys the stream.
    void AddReference() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
    /// One handle less; the last one destroys the stream.
    void Release() noexcept
    {
        if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    /// @}

protected:
    IInputStream() = default;
    virtual ~IInputStream() = default; // for the last handle alone

private:
    std::atomic<std::uint32_t> count_{1};
};

/// A handle to a stream, or to none.
class InputStream
{
public:
    /// No stream.
    InputStream() noexcept = default;
    /// Takes over the reference that the maker of @p stream holds.
    explicit InputStream(IInputStream* stream) noexcept : stream_(stream) {}
    /// @{
    /// Copies share the stream.
    InputStream(const InputStream& other) noexcept : stream_(other.stream_)
    {
        if (stream_ != nullptr)
            stream_->AddReference();
    }
    /// Takes over the stream; @p other has none afterwards.
    InputStream(InputStream&& other) noexcept : stream_(std::exchange(other.stream_, nullptr)) {}
    /// Shares or takes over the stream of @p other.
    InputStream& operator=(InputStream other) noexcept
    {
        std::swap(stream_, other.stream_);
        return *this;
    }
    /// @}
    ~InputStream()
    {
        if (stream_ != nullptr)
            stream_->Release();
    }

    IInputStream* operator->() const noexcept { return stream_; }          ///< the stream
    IInputStream& operator*() const noexcept { return *stream_; }          ///< the stream
    explicit operator bool() const noexcept { return stream_ != nullptr; } ///< whether there is one

private:
    IInputStream* stream_ = nullptr;
};

/// @{
/// The file @p path, through a buffer. Never waits: only regular files can be opened. The second
/// lets other processes write the file meanwhile; the first prevents that on Windows.
KVI_API InputStream MakeFileInputStream(const std::wstring& path);
/// The same, while other processes may write the file.
KVI_API InputStream MakeSharedFileInputStream(const std::wstring& path);
/// @}
/// The @p size bytes at @p data, which must outlive the stream.
/// @param name  its name in messages
KVI_API InputStream MakeMemoryInputStream(const std::wstring& name, const void* data,
                                          unsigned long size);

} // namespace sys::file
