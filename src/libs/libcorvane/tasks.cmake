# Everything that the assistant and scripts can do to a scene, as tasks.
corvane_library(corvane_tasks
    AREAS tasks
    SOURCES
        corvane/tasks/Arguments.cpp
        corvane/tasks/BenchResults.cpp
        corvane/tasks/BrokenTexts.cpp
        corvane/tasks/CameraTasks.cpp
        corvane/tasks/CorvaneTask.cpp
        corvane/tasks/CorvaneTasks.cpp
        corvane/tasks/DocumentQueries.cpp
        corvane/tasks/DocumentTaskRows.cpp
        corvane/tasks/EditArguments.cpp
        corvane/tasks/EditTaskRows.cpp
        corvane/tasks/MeshTasks.cpp
        corvane/tasks/OpTask.cpp
        corvane/tasks/ParameterCheck.cpp
        corvane/tasks/QueryTaskRows.cpp
        corvane/tasks/SceneAccess.cpp
        corvane/tasks/SceneBuildTreeTask.cpp
        corvane/tasks/SceneErrorCounter.cpp
        corvane/tasks/SceneErrors.cpp
        corvane/tasks/SceneQueries.cpp
        corvane/tasks/SceneRecord.cpp
        corvane/tasks/ServiceTaskRows.cpp
        corvane/tasks/TaskFactory.cpp
        corvane/tasks/TaskJson.cpp
        corvane/tasks/TreeDescription.cpp
    LINKS batch concurrency corvane_bench corvane_ops corvane_zirn Qt6::Core
    PRIVATE_LINKS corvane_check Qt6::Sql store)
