// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "directory.h"

#include <QHash>
#include <QSettings>
#include <QString>
#include <QVariant>

#include <unistd.h>

#include <memory>
#include <string>

namespace Bench {

// QSettings with its own dialect of ini files. It does less: ";" begins a comment, so that lists end after their first
// item; no check of names, no templates, no registered keys; text() shares the stored text instead of copying it. It
// does more: UTF-16, escapes, merging with other programs. It parses a group when that is first asked for, so loading
// asks for all keys. It has no directories: each file is read by itself and its values go into a hash.
class QtSettings {
public:
    static constexpr const char *Name = "QSettings";
    static constexpr bool KeepsRawText = true;

    using Query = QString;
    static Query query(const std::string &group, const std::string &key)
    {
        return QString::fromStdString(group + "/" + key);
    }
    static const char *cannotLoad(const std::string &corpus)
    {
        if (corpus == "references" || corpus == "environment")
            return "no templates, and values that are filled in by hand would be written to the file";
        return corpus == "lists" || corpus == "typical" || corpus == "typed" ? "\";\" begins a comment to it" : nullptr;
    }

    // It remembers the last 30 files that it parsed, by their paths: another name of the file makes it parse again.
    static std::string alias(const std::string &path)
    {
        static std::size_t uses = 0;
        std::string link = path + ".alias" + std::to_string(uses++ % 64);
        [[maybe_unused]] const int failsIfThere = ::symlink(path.c_str(), link.c_str());
        return link;
    }

    bool loadFile(const std::string &path)
    {
        file_ = open(path);
        return file_->status() == QSettings::NoError && !file_->allKeys().isEmpty();
    }

    bool loadDirectory(const std::string &path)
    {
        return readEach(path, [this](const std::string &file) {
            const auto layer = open(file);
            for (const QString &key : layer->allKeys())
                merged_.insert(key, layer->value(key));
            return layer->status() == QSettings::NoError;
        });
    }

    std::size_t text(const Query &query) { return static_cast<std::size_t>(find(query).toString().size()); }
    int integer(const Query &query) { return find(query).toInt(); }
    double number(const Query &query) { return find(query).toDouble(); }
    bool truth(const Query &query) { return find(query).toBool(); }

    std::string copy(const Query &query) { return find(query).toString().toStdString(); }

private:
    static std::unique_ptr<QSettings> open(const std::string &path)
    {
        return std::make_unique<QSettings>(QString::fromStdString(path), QSettings::IniFormat);
    }

    QVariant find(const Query &query) const { return file_ ? file_->value(query) : merged_.value(query); }

    std::unique_ptr<QSettings> file_;
    QHash<QString, QVariant> merged_;
};

} // namespace Bench
