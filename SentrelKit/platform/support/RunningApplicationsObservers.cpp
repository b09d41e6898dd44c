// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/RunningApplicationsObservers.h>

#include <SentrelKit/base/system/detail/ChangeObserver.h>
#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace sentrel::platform {

using Observer = ChangeObserver<RunningApplicationsObservers::SharedSet>;

struct RunningApplicationsObservers::List {
    Lock lock; // not held while observers run
    std::vector<std::shared_ptr<Observer>> observers SENTREL_GUARDED_BY(lock);
};

class RunningApplicationsObservers::Registration final : public RunningApplicationsObservation {
public:
    Registration(std::shared_ptr<List> list, RunningApplicationsObserver observer)
        : list_(std::move(list)),
          observer_(std::make_shared<Observer>([call = std::move(observer)](const SharedSet& set) { call(*set); })) {
        const LockScope scope(list_->lock);
        list_->observers.push_back(observer_);
    }
    ~Registration() override {
        {
            const LockScope scope(list_->lock);
            list_->observers.erase(std::find(list_->observers.begin(), list_->observers.end(), observer_));
        }
        observer_->release();
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    const std::shared_ptr<List> list_;
    const std::shared_ptr<Observer> observer_;
};

RunningApplicationsObservers::RunningApplicationsObservers() : list_(std::make_shared<List>()) {}
RunningApplicationsObservers::~RunningApplicationsObservers() = default;

std::unique_ptr<RunningApplicationsObservation>
RunningApplicationsObservers::add(RunningApplicationsObserver observer) {
    return std::make_unique<Registration>(list_, std::move(observer));
}

void RunningApplicationsObservers::tell(const std::function<SharedSet()>& currentSet) {
    std::vector<std::shared_ptr<Observer>> waiting;
    {
        const LockScope scope(list_->lock);
        const SharedSet set = currentSet();
        for (const std::shared_ptr<Observer>& observer : list_->observers) {
            if (observer->offer(set))
                waiting.push_back(observer);
        }
    }
    for (const std::shared_ptr<Observer>& observer : waiting)
        observer->tell();
}

} // namespace sentrel::platform
