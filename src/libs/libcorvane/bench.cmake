# The mesh bench: apart from the other workers, since a program without it needs no SQL.
corvane_library(corvane_bench
    AREAS bench
    SOURCES
        corvane/bench/BenchPipelineDefinition.cpp
        corvane/bench/BenchReport.cpp
        corvane/bench/BenchRequest.cpp
        corvane/bench/BenchRun.cpp
        corvane/bench/BenchScore.cpp
        corvane/bench/CompiledScene.cpp
        corvane/bench/MeshBenchWorker.cpp
        corvane/bench/MeshExportBench.cpp
        corvane/bench/MeshMetrics.cpp
        corvane/bench/PlotScale.cpp
        corvane/bench/SvgPlot.cpp
        corvane/bench/TestDB.cpp
    LINKS batch concurrency corvane_field corvane_jobs mesh Qt6::Core
    PRIVATE_LINKS Qt6::Sql store)

corvane_resources(corvane_bench bench_templates
    PREFIX / BASE ${CMAKE_SOURCE_DIR}/resources
    FILES ${CMAKE_SOURCE_DIR}/resources/templates/bench_report.html.in)
