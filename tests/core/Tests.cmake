# The tests of what needs no engine, for the ordinary build and for the one of the core alone.
set(TQWB_CORE_TESTS
    "${PROJECT_SOURCE_DIR}/tests/bridge/BridgeRulesTests.cpp"
    "${PROJECT_SOURCE_DIR}/tests/bridge/NativeObjectsTests.cpp"
    "${PROJECT_SOURCE_DIR}/tests/bridge/DeclarationsTests.cpp"
    "${PROJECT_SOURCE_DIR}/tests/bridge/TypedFunctionsTests.cpp"
    "${PROJECT_SOURCE_DIR}/tests/navigation/NaviRulesTests.cpp"
    "${PROJECT_SOURCE_DIR}/tests/platform/TextTests.cpp"
    "${PROJECT_SOURCE_DIR}/tests/session/SessionRulesTests.cpp"
)
