# The batch workers over fields, exports and assets; their headers lie with what they work on.
corvane_library(corvane_jobs
    AREAS jobs
    SOURCES
        corvane/asset/MeshImport.cpp
        corvane/asset/MeshImportWorker.cpp
        corvane/bv/BoundsDetectionWorker.cpp
        corvane/jobs/JobWatch.cpp
        corvane/xport/ExportJob.cpp
        corvane/xport/MeshExportWorker.cpp
    LINKS batch concurrency corvane_asset corvane_field mesh Qt6::Core)
