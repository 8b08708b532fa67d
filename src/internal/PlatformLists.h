// Singly linked lists of the platform-data records: zeroed entries linked
// through `next`, appended at the tail and released from the head.
#pragma once

#include <cstdlib>

namespace zov {

// A new zeroed entry, or NULL when memory is exhausted.
template <typename Entry>
Entry *newZeroedEntry() noexcept {
    return static_cast<Entry *>(std::calloc(1, sizeof(Entry)));
}

// Releases every entry from head on with release (free by default),
// reading each entry's next before the entry goes.
template <typename Entry, typename Release>
void releaseList(Entry *head, Release release) noexcept {
    while (head != nullptr) {
        Entry *next = head->next;
        release(head);
        head = next;
    }
}

template <typename Entry>
void releaseList(Entry *head) noexcept {
    releaseList(head, [](Entry *entry) { std::free(entry); });
}

// Appends at the tail of a list and remembers where the tail is, so that
// filling a list of n entries costs n steps, not n*n. The first append walks
// from the head once; the list must not be changed by anyone else meanwhile.
template <typename Entry>
class ListTail {
public:
    explicit ListTail(Entry **head) noexcept : slot_(head) {
        while (*slot_ != nullptr) slot_ = &(*slot_)->next;
    }

    // Links entry (and whatever already follows it) at the tail; NULL changes nothing.
    void append(Entry *entry) noexcept {
        if (entry == nullptr) return;
        *slot_ = entry;
        while (*slot_ != nullptr) slot_ = &(*slot_)->next;
    }

    // Links a new zeroed entry at the tail; NULL (list unchanged) when memory is exhausted.
    Entry *appendZeroed() noexcept {
        Entry *entry = newZeroedEntry<Entry>();
        append(entry);
        return entry;
    }

private:
    Entry **slot_;  // the null link where the next entry goes
};

// The public add operations: append one zeroed entry, walking from the head.
template <typename Entry>
Entry *appendZeroedEntry(Entry **head) noexcept {
    return ListTail<Entry>(head).appendZeroed();
}

}  // namespace zov
