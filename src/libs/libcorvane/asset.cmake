# Imported geometry: where it lives in memory, and its files on disk.
corvane_library(corvane_asset
    AREAS asset
    SOURCES
        corvane/asset/AssetFileMonitor.cpp
        corvane/asset/AssetStore.cpp
    LINKS mesh Qt6::Core)
