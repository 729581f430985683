#include "pdf/PageWriter.h"

#include <algorithm>

#include "Software.h"

namespace vorn::fil::pdf {

void PageWriter::Open(uint32_t object, uint32_t generation)
{
    entries_.push_back({object, generation, update_.Size() + text_.size()});
    text_ += Print("%u %u obj\n", object, generation);
}

int32_t PageWriter::Flush()
{
    const int32_t status = update_.WriteAt(update_.Size(), text_.data(), text_.size());
    text_.clear();
    return status;
}

/** What stands before the first page of ours. */
void PageWriter::Start()
{
    const uint32_t root = document_.Root();
    if (IsNew()) {
        text_ = "%PDF-1.5\n%\xE2\xE3\xCF\xD3\n";
        Open(document_.Catalog());
        text_ += Print("<< /Type /Catalog /Pages %u 0 R >>\n", root);
        Close();
        Open(document_.Information());
        text_ += Print("<< /Producer (%s) >>\n", kSoftware);
        Close();
    } else if (document_.pageCount == 0) {
        const BaseRevision& before = document_.before;
        text_ += '\n';
        Open(document_.Catalog());
        text_ += Print("<< /Pages %u 0 R", root) + before.catalog + " >>\n";
        Close();
        Open(before.pages, before.generation);
        text_ += Print("<< /Parent %u 0 R", root) + before.tree + " >>\n";
        Close();
    }
}

int32_t PageWriter::Begin(const Picture& picture)
{
    picture_ = picture;
    if (document_.pageCount >= kMostPages)
        return FIL_ERR_TOO_LARGE;
    if (!IsNew())
        if (const int32_t status = update_.KeepEnd(EndOf(document_.tableAt)); status != FIL_SUCCESS)
            return status;
    const uint32_t page = document_.Page(document_.pageCount);
    Start();
    Open(page);
    text_ += Print("<< /Type /Page /Parent %u 0 R /MediaBox [0 0 ", document_.Group(document_.pageCount)) +
             Points(picture.pageWidth) + " " + Points(picture.pageHeight) + "]\n";
    text_ +=
        Print("/Resources << /XObject << /Picture %u 0 R >> >> /Contents %u 0 R >>\n", page + 1, page + 3);
    Close();
    Open(page + 1);
    text_ += Print("<< /Type /XObject /Subtype /Image /Width %u /Height %u /Length %u 0 R\n", picture.width,
                   picture.height, page + 2);
    text_ += picture.entries + " >>\nstream\n";
    const int32_t status = Flush();
    dataAt_ = update_.Size();
    return status;
}

/** The nodes of the tree that change with the page: its group, and the root. */
void PageWriter::AddTree()
{
    const uint32_t last = document_.pageCount;
    const BaseRevision& before = document_.before;
    Open(document_.Group(last));
    const uint32_t first = last / kGroupPages * kGroupPages;
    text_ += Print("<< /Type /Pages /Parent %u 0 R /Count %u /Kids [", document_.Root(), last - first + 1);
    for (uint32_t page = first; page <= last; ++page)
        text_ += Print("%u 0 R ", document_.Page(page));
    text_ += "] >>\n";
    Close();
    Open(document_.Root());
    text_ += Print("<< /Type /Pages /Count %u /Kids [", before.pageCount + PageCount());
    if (document_.HasBefore())
        text_ += Print("%u %u R ", before.pages, before.generation);
    for (uint32_t page = 0; page <= last; page += kGroupPages)
        text_ += Print("%u 0 R ", document_.Group(page));
    text_ += "] >>\n";
    Close();
}

/** Calls `begin` with the first number of each run of objects and their count, `add` with each object. */
template <typename Entries, typename Begin, typename Add>
void ForEachRun(Entries& entries, Begin begin, Add add)
{
    std::ranges::sort(entries, {}, [](const auto& entry) { return entry.object; });
    for (auto run = entries.begin(); run != entries.end();) {
        auto end = run + 1;
        while (end != entries.end() && end->object == (end - 1)->object + 1)
            ++end;
        begin(run->object, static_cast<unsigned>(end - run));
        for (; run != end; ++run)
            add(*run);
    }
}

void PageWriter::AddTable()
{
    tableAt_ = update_.Size() + text_.size();
    text_ += kTable;
    if (IsNew())
        text_ += "0 1\n0000000000 65535 f \n";
    ForEachRun(
        entries_, [this](unsigned first, unsigned count) { text_ += Print("%u %u\n", first, count); },
        [this](const Entry& entry) {
            text_ +=
                Print("%010llu %05u n \n", static_cast<unsigned long long>(entry.offset), entry.generation);
        });
    text_.append(kTrailer).append(TrailerOf(document_, PageCount(), document_.tableAt)) += " >>\n";
}

/** A table that is an object itself. */
void PageWriter::AddStreamTable()
{
    tableAt_ = update_.Size() + text_.size();
    entries_.push_back({document_.Information(), 0, tableAt_});
    std::string index, data;
    ForEachRun(
        entries_, [&](unsigned first, unsigned count) { index += Print("%u %u ", first, count); },
        [&](const Entry& entry) {
            data += '\1';
            for (int shift = 56; shift >= 0; shift -= 8)
                data += static_cast<char>(entry.offset >> shift);
            data += static_cast<char>(entry.generation >> 8);
            data += static_cast<char>(entry.generation);
        });
    text_ += Print("%u", document_.Information());
    text_.append(kStreamTable).append(index) += Print("] /Length %u ", static_cast<unsigned>(data.size()));
    text_ += TrailerOf(document_, PageCount(), document_.tableAt) + " >>\nstream\n" + data + "\nendstream\n";
    Close();
}

int32_t PageWriter::Finish()
{
    const uint32_t page = document_.Page(document_.pageCount);
    const uint64_t length = update_.Size() - dataAt_;
    text_ = "\nendstream\n";
    Close();
    Open(page + 2);
    text_ += Print("%llu\n", static_cast<unsigned long long>(length));
    Close();
    Open(page + 3);
    const std::string drawn =
        "q " + Points(picture_.pageWidth) + " 0 0 " + Points(picture_.pageHeight) + " 0 0 cm /Picture Do Q";
    text_ +=
        Print("<< /Length %u >>\nstream\n", static_cast<unsigned>(drawn.size())) + drawn + "\nendstream\n";
    Close();
    AddTree();
    document_.streams ? AddStreamTable() : AddTable();
    if (tableAt_ > kMostOffset)
        return FIL_ERR_TOO_LARGE;
    const std::string end = EndOf(tableAt_);
    if (IsNew()) {
        text_ += end;
        return Flush();
    }
    if (const int32_t status = Flush(); status != FIL_SUCCESS)
        return status;
    text_.assign(static_cast<size_t>(update_.Padding()), '\n');
    if (!text_.empty())
        if (const int32_t status = Flush(); status != FIL_SUCCESS)
            return status;
    return update_.PatchEnd(kEndStart.size(), end.data() + kEndStart.size(), kEndDigits);
}

}  // namespace vorn::fil::pdf
