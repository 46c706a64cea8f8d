#pragma once
// Zip archives on libzip: the backup and transfer packages are written with
// it, and the import reads them. Paths inside an archive are relative with
// forward slashes. Extraction refuses anything that could write outside its
// folder or fill the disk, before it writes a single file.
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace ziparchive {

// Called once per file when it is stored or extracted.
using FileDone = std::function<void()>;

class Writer {
public:
    Writer();
    ~Writer(); // an archive that was not closed is discarded
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Starts a new archive at path. An existing file there is deleted first,
    // so a failure leaves no archive.
    bool create(const QString& path, QString* error = nullptr);
    // How a file is stored: compressed, or as it is (an EPUB's mimetype).
    enum class Method { Deflate, Store };
    // Stores one file under nameInArchive ("manual/book.xml"). Entries are
    // written in the order they are added.
    bool addFile(const QString& file, const QString& nameInArchive, QString* error = nullptr,
                 Method method = Method::Deflate);
    // Stores every file below folder, keeping relative folders, under
    // nameInArchive ("manual/img"); empty folders are kept as folder entries.
    bool addFolder(const QString& folder, const QString& nameInArchive, QString* error = nullptr);
    // Number of files added so far (folder entries not counted).
    int fileCount() const;
    // Writes the archive; fileDone is called once per stored file. When
    // cancelled() says so, the writing stops and no archive is left.
    bool close(const FileDone& fileDone = {}, QString* error = nullptr,
               const std::function<bool()>& cancelled = {});

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

// Number of files (not folders) in an archive; -1 with *error when it
// cannot be read.
int countFiles(const QString& archive, QString* error = nullptr);

// The names of the entries, in archive order.
QStringList entryNames(const QString& archive, QString* error = nullptr);

// Extracts every entry into folder, recreating folders and overwriting
// files (each written to a temporary file and renamed). Refused, with a
// message that names the entry and nothing written: absolute paths, ".."
// segments, backslashes, drive letters, symbolic links, and archives whose
// uncompressed total is more than 100 times the archive's size or more than
// the free space of the folder's file system. cancelled, asked after each
// file, stops the extraction before anything is renamed into place.
bool extractAll(const QString& archive, const QString& folder, const FileDone& fileDone = {},
                QString* error = nullptr, const std::function<bool()>& cancelled = {});

} // namespace ziparchive
