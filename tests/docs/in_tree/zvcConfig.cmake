# Stands for the installed package while the guides are built in the tree, where zvc::zvc is a target already.
