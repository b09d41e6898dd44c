#include <SentrelKit/platform/RunningApplicationsObservers.h>

#include <SentrelKit/base/system/ThreadSafety.h>

#include <list>
#include <utility>

namespace sentrel::platform {

struct RunningApplicationsObservers::List {
    struct Entry {
        RunningApplicationsObserver observer;
        SharedSet heard;
    };
    Lock lock; // held while observers run
    std::list<Entry> entries SENTREL_GUARDED_BY(lock);
};

class RunningApplicationsObservers::Registration final : public RunningApplicationsObservation {
public:
    Registration(std::shared_ptr<List> list, RunningApplicationsObserver observer) : list_(std::move(list)) {
        const LockScope scope(list_->lock);
        entry_ = list_->entries.insert(list_->entries.end(), {std::move(observer), nullptr});
    }
    ~Registration() override {
        const LockScope scope(list_->lock);
        list_->entries.erase(entry_);
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    std::shared_ptr<List> list_;
    std::list<List::Entry>::iterator entry_;
};

RunningApplicationsObservers::RunningApplicationsObservers() : list_(std::make_shared<List>()) {}
RunningApplicationsObservers::~RunningApplicationsObservers() = default;

std::unique_ptr<RunningApplicationsObservation>
RunningApplicationsObservers::add(RunningApplicationsObserver observer) {
    return std::make_unique<Registration>(list_, std::move(observer));
}

void RunningApplicationsObservers::tell(const std::function<SharedSet()>& currentSet) {
    const LockScope scope(list_->lock);
    const SharedSet set = currentSet();
    for (List::Entry& entry : list_->entries) {
        if (entry.heard == set)
            continue;
        entry.heard = set;
        entry.observer(*set);
    }
}

} // namespace sentrel::platform
