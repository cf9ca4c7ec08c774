# Sources of models/acl, relative to models/.
