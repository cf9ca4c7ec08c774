# Sources of models/flowspec, relative to models/.
