#pragma once

namespace tq::test {

/// What the port's toolkit needs to be there for, as long as tests run.
class Toolkit {
public:
    Toolkit(int& argc, char** argv);
    ~Toolkit(); // NOLINT(performance-trivially-destructible): Qt's has something to delete
    Toolkit(const Toolkit&) = delete;
    Toolkit& operator=(const Toolkit&) = delete;
};

} // namespace tq::test
