#pragma once

#include <Nimbal/IpGenPrefix.h>
#include <Vexo/Types.h>

#include <span>
#include <string>

namespace LpmBenchmarks {

/** A file with a table, in the one form or the other; it goes with this object. */
class TableFile {
public:
    enum class Form { text, mrt };

    TableFile(Form form, std::span<Nimbal::IpGenPrefix const> routes);
    TableFile(TableFile const&) = delete;
    TableFile& operator=(TableFile const&) = delete;
    ~TableFile();

    std::string const& path() const noexcept { return path_; }
    /** Reads it as the command does, into a table of paths. Answers how many routes came. */
    Vexo::U64 read() const;

private:
    std::string path_;
};

}  // namespace LpmBenchmarks
