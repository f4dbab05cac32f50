#include "NSStream.h"

namespace tq {

namespace {

// A call that somebody still has the completion of.
struct OpenCall {
    explicit OpenCall(std::shared_ptr<ResultSink> newSink)
        : sink(std::move(newSink))
    {
    }
    OpenCall(const OpenCall&) = delete;
    OpenCall& operator=(const OpenCall&) = delete;
    ~OpenCall()
    {
        if (!isOver)
            sink->abandon();
    }

    const std::shared_ptr<ResultSink> sink;
    bool isOver = false;
};

} // namespace

ResultSink::~ResultSink() = default;

NSCompletion completionOf(std::shared_ptr<ResultSink> sink)
{
    return [call = std::make_shared<OpenCall>(std::move(sink))](OptionalValue value, Complete complete) {
        call->isOver = call->isOver || complete == Complete::Yes;
        call->sink->deliver(std::move(value), complete);
    };
}

} // namespace tq
