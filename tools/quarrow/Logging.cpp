#include <tools/quarrow/Logging.h>

#include <tools/quarrow/Text.h>

namespace quarrow {
namespace {

// Messages quote what registers hold.
class PrintableSink : public zel::LogSink {
  public:
    void write(const zel::String& channel, zel::LogPriority priority, const zel::String& text) override {
        m_sink->write(channel, priority, zel::String::fromUtf8(printable(text)));
    }

  private:
    std::shared_ptr<zel::LogSink> m_sink = zel::LogFactory::standardErrorSink();
};

} // namespace

void logToStandardError(zel::LogPriority threshold) {
    zel::LogFactory::addSink(std::make_shared<PrintableSink>());
    zel::LogFactory::setGlobalPriority(threshold);
}

} // namespace quarrow
