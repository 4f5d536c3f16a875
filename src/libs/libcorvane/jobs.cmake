# The batch workers over fields, exports and assets; their headers lie with what they work on.
corvane_library(corvane_jobs
    AREAS jobs
    SOURCES
        corvane/asset/MeshImport.cpp
        corvane/asset/MeshImportWorker.cpp
        corvane/bv/BoundsDetectionWorker.cpp
        corvane/jobs/JobWatch.cpp
        corvane/shader/ShaderBuildWorker.cpp
        corvane/shader/ShaderJobWorker.cpp
        corvane/shader/ShaderValidationWorker.cpp
        corvane/shader/ShadingPipelineWorker.cpp
        corvane/xport/ExportJob.cpp
        corvane/xport/MeshExportWorker.cpp
    LINKS batch concurrency corvane_asset corvane_field mesh shader Qt6::Core)
corvane_resources(corvane_jobs accum_shaders PREFIX /shaders BASE ${CMAKE_SOURCE_DIR}/resources/shaders
    FILES ${CMAKE_SOURCE_DIR}/resources/shaders/accum_blit.vert ${CMAKE_SOURCE_DIR}/resources/shaders/accum_blit.frag)
